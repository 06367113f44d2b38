#import "ApplicationWindows.h"
#import "AttachmentsWindow.h"
#import "MainWindowLayout.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"

@implementation ApplicationWindows

+ (TolvoController *) newControllerWithWindows
{
  TolvoController *aController = [[TolvoController alloc] init];
  [MainWindowLayout layoutWindowForController: aController];
  [aController setOutlet: [AttachmentsWindow attachmentsControllerWithWindow] named: @"attachments"];
  [aController awakeFromNib];
  return aController;
}

@end
