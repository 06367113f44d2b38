#import "ApplicationWindows.h"
#import "MainWindowLayout.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"

@implementation ApplicationWindows

+ (TolvoController *) newControllerWithWindows
{
  TolvoController *aController = [[TolvoController alloc] init];
  [MainWindowLayout layoutWindowForController: aController];
  [aController awakeFromNib];
  return aController;
}

@end
