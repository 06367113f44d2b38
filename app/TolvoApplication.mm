#import "TolvoApplication.h"
#import "LocalizedStrings.h"

@implementation TolvoApplication

- (BOOL) sendAction: (SEL) theAction to: (id) theTarget from: (id) theSender
{
  BOOL sent = NO;
  @try
    {
      sent = [super sendAction: theAction to: theTarget from: theSender];
    }
  @catch (NSException *anException)
    {
      [self reportException: anException];
      sent = YES;
    }
  return sent;
}

- (void) reportException: (NSException *) theException
{
  NSBeep();
  NSString *aLine = [NSString stringWithFormat: TolvoLocalizedCString("Error (%@): %@"),
                              [theException name], [theException reason]];
  id aDelegate = [self delegate];
  if ([aDelegate respondsToSelector: @selector(statusMsg:)])
    [aDelegate performSelector: @selector(statusMsg:) withObject: aLine];
  else
    NSLog(@"%@", aLine);
}

@end
