#import "RunCompletion.h"

void TolvoFinishRun(id<MailingController> theController, BOOL theLastMessageAccepted)
{
  if ([theController getPeople] == nil)
    [[theController getSpinner] stopAnimation: theController];
  if (!theLastMessageAccepted)
    return;
  switch ([theController completionAction])
    {
      case 1:
        [NSApp terminate: theController];
        break;
      case 2:
        [theController reset];
        break;
      default:
        break;
    }
}
