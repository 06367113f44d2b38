#import "ApplicationWindows.h"
#import "AttachmentsWindow.h"
#import "ContactsWindowLayout.h"
#import "MainWindowLayout.h"
#import "PreferencesPanel.h"
#import "RecipientsWindowLayout.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"

@implementation ApplicationWindows

+ (TolvoController *) newControllerWithWindows
{
  TolvoController *aController = [[TolvoController alloc] init];
  [MainWindowLayout layoutWindowForController: aController];
  // The Preferences panel is built with the other windows and shown by
  // -showPreferences:; it writes the store itself.
  [PreferencesPanel sharedPanel];
  [aController setOutlet: [AttachmentsWindow attachmentsControllerWithWindow] named: @"attachments"];
  [ContactsWindowLayout layoutWindowForController: aController];
  [RecipientsWindowLayout layoutWindowForController: aController];
  [aController awakeFromNib];
  return aController;
}

@end
