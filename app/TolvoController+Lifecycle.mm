#import "TolvoController+Lifecycle.h"
#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Settings.h"
#import "DesktopOpener.h"
#import "GetURLEventSource.h"
#import "LocalizedStrings.h"
#import "LoginPassword.h"
#import "PeoplePickerNotifications.h"
#import "PeoplePickerView.h"
#import "PreferencesPanel.h"
#import "SMTP.h"
#include "ActivityLog.h"
#include "FileExtensionTable.h"

// The user guide shipped inside the application wrapper, which the Website
// and Help items open in the default browser.
static NSString *const TolvoGuideFolder = @"Guide";
static NSString *const TolvoGuidePage = @"index";

@interface TolvoController (LifecyclePrivate)
- (NSString *) _folderNamed: (NSString *) theName inside: (NSString *) theParent;
- (std::string) _logMarker: (const char *) theWords;
@end

@implementation TolvoController (LifecyclePrivate)

- (NSString *) _folderNamed: (NSString *) theName inside: (NSString *) theParent
{
  if (theParent == nil)
    return nil;
  NSString *aPath = [theParent stringByAppendingPathComponent: theName];
  BOOL isFolder = NO;
  NSFileManager *aManager = [NSFileManager defaultManager];
  if ([aManager fileExistsAtPath: aPath isDirectory: &isFolder] && isFolder)
    return aPath;
  if (![aManager createDirectoryAtPath: aPath
           withIntermediateDirectories: YES
                            attributes: nil
                                 error: NULL])
    return nil;
  return aPath;
}

// "[Logging starting at <date>]\r" in the system's 8-bit encoding, built in
// the 256-byte buffer: empty when it does not convert or does not fit.
- (std::string) _logMarker: (const char *) theWords
{
  NSString *aLine = [NSString stringWithFormat: @"%@%@]\r",
                              TolvoLocalizedCString(theWords),
                              [[NSDate date] description]];
  char buffer[tolvo::kLogBufferSize] = {0};
  if (![aLine getCString: buffer
               maxLength: sizeof(buffer)
                encoding: [NSString defaultCStringEncoding]])
    buffer[0] = '\0';
  return std::string(buffer);
}

@end

@implementation TolvoController (Lifecycle)

- (void) awakeFromNib
{
  DESTROY(people);
  ASSIGN(recipients, AUTORELEASE([[NSMutableArray alloc] initWithCapacity: 1000]));

  [[GetURLEventSource sharedSource] setEventHandler: self
                                        andSelector: @selector(handleGetURLEvent:withReplyEvent:)
                                      forEventClass: kInternetEventClass
                                         andEventID: kAEGetURL];

  ASSIGN(defaults, [NSUserDefaults standardUserDefaults]);

  NSNotificationCenter *aCenter = [NSNotificationCenter defaultCenter];
  if (peoplePickerView != nil)
    {
      NSString *names[] = { ABPeoplePickerNameSelectionDidChangeNotification,
                            ABPeoplePickerValueSelectionDidChangeNotification,
                            ABPeoplePickerDisplayedPropertyDidChangeNotification };
      for (int i = 0; i < 3; i++)
        [aCenter addObserver: self
                    selector: @selector(abRecordSelected:)
                        name: names[i]
                      object: peoplePickerView];
      [(id)peoplePickerView setAllowsGroupSelection: YES];
      [(id)peoplePickerView setAllowsMultipleSelection: NO];
    }

  NSString *aDefault = [self getDefaultTo];
  if (aDefault != nil)
    [to setStringValue: aDefault];
  aDefault = [self getDefaultToName];
  if (aDefault != nil)
    [name setStringValue: aDefault];

  // The contacts application's icon on the Contacts button, when one is
  // installed; otherwise the button keeps its own look.
  NSString *contactsApp = [[NSWorkspace sharedWorkspace] fullPathForApplication: @"AddressManager"];
  if (contactsApp != nil && addressesButton != nil)
    {
      NSImage *anIcon = [[NSWorkspace sharedWorkspace] iconForFile: contactsApp];
      if (anIcon != nil)
        {
          [addressesButton setImage: anIcon];
          [addressesButton setImagePosition: NSImageLeft];
        }
    }

  if (to != nil)
    [aCenter addObserver: self selector: @selector(textDidChange:)
                    name: NSControlTextDidChangeNotification object: to];
  if (name != nil)
    [aCenter addObserver: self selector: @selector(textDidChange:)
                    name: NSControlTextDidChangeNotification object: name];

  [message setUsesRuler: YES];
  [message setRulerVisible: YES];

  [self statusMsg: TolvoLocalizedCString("Ready.")];
}

- (void) applicationWillFinishLaunching: (NSNotification *) theNotification
{
  tolvo::loadFileExtensionTable();
  [mainWindow makeKeyAndOrderFront: self];
  NSString *aFolder = [self activityLogFolder];
  if (aFolder != nil)
    tolvo::startActivityLog([aFolder fileSystemRepresentation],
                            [self _logMarker: "[Logging starting at "]);
  // After the log has started, so that it can say where the password stays.
  [LoginPassword moveFromDefaults: defaults];
  [self loadDeliveryJournal];
}

- (void) applicationWillTerminate: (NSNotification *) theNotification
{
  tolvo::stopActivityLog([self _logMarker: "[Logging stopping at "]);
}

- (BOOL) applicationShouldTerminateAfterLastWindowClosed: (NSApplication *) theApplication
{
  return NO;
}

- (NSString *) activityLogFolder
{
  NSArray *supportFolders = NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory,
                                                                NSUserDomainMask, YES);
  if ([supportFolders count] == 0)
    return nil;
  NSString *aSupport = [supportFolders objectAtIndex: 0];
  BOOL isFolder = NO;
  if (!([[NSFileManager defaultManager] fileExistsAtPath: aSupport isDirectory: &isFolder] && isFolder)
      && ![[NSFileManager defaultManager] createDirectoryAtPath: aSupport
                                    withIntermediateDirectories: YES
                                                     attributes: nil
                                                          error: NULL])
    return nil;
  return [self _folderNamed: @"Tolvo"
                     inside: [self _folderNamed: @"Sorvane Software" inside: aSupport]];
}

- (void) statusMsg: (NSString *) theMessage
{
  tolvo::writeActivityLogLine([theMessage UTF8String]);
  [status setStringValue: theMessage];
  // A long line is cut at the window's edge; the whole of it stays at hand
  // (during a run, from the next drawing on).
  if (!runUnderWay)
    [status setToolTip: theMessage];
}

- (void) reset
{
  [message setSelectedRange: NSMakeRange(0, [[message string] length])];
  [message insertText: @""];
  [self statusMsg: TolvoLocalizedCString("Ready.")];
  [subject setStringValue: @""];
  NSString *aDefault = [self getDefaultTo];
  [to setStringValue: aDefault != nil ? aDefault : @""];
  aDefault = [self getDefaultToName];
  [name setStringValue: aDefault != nil ? aDefault : @""];
}

- (void) openConsole: (id) theSender
{
  NSString *aFolder = [self activityLogFolder];
  if (aFolder == nil)
    return;
  NSString *aPath = [NSString stringWithUTF8String:
    tolvo::activityLogPath([aFolder fileSystemRepresentation]).c_str()];
  if (![[NSFileManager defaultManager] fileExistsAtPath: aPath])
    return;
  TolvoOpenWithDesktop(aPath);
}

- (void) testEmail: (id) theSender
{
  [self setDeliveringAddress: nil];
  SMTP *aDelivery = [[SMTP alloc] init];
  [aDelivery sendEmailNotification: (id<MailingController>)self
                       withMessage: @"If you received this message, email functionality is working."
                       withSubject: @"Tolvo Test Email"];
  [self doAlert: [NSString stringWithFormat: @"A test email has been sent to %@", [self getFrom]]
         adding: @"Check the email account for this recipient to see if was sent successfully."];
}

- (void) goToWebsite: (id) theSender
{
  NSString *aGuide = [self userGuidePath];
  if (aGuide != nil)
    TolvoOpenWithDesktop([[NSURL fileURLWithPath: aGuide] absoluteString]);
}

- (void) showHelp: (id) theSender
{
  [self goToWebsite: theSender];
}

- (NSString *) userGuidePath
{
  return [[NSBundle mainBundle] pathForResource: TolvoGuidePage
                                         ofType: @"html"
                                    inDirectory: TolvoGuideFolder];
}

- (void) goToMAS: (id) theSender
{
  // This desktop has no application store page for Tolvo; the guide serves.
  [self goToWebsite: theSender];
}

- (void) showAttachments: (id) theSender
{
  if ([(id)attachments respondsToSelector: @selector(showWindow:)])
    [(id)attachments showWindow: theSender];
}

- (void) showRecipients: (id) theSender
{
  [recipientsWindow makeKeyAndOrderFront: theSender];
}

- (void) showPreferences: (id) theSender
{
  [[PreferencesPanel sharedPanel] showPanel: theSender];
}

- (void) handleGetURLEvent: (id) theEvent withReplyEvent: (id) theReplyEvent
{
  NSString *aURL = [[theEvent paramDescriptorForKeyword: keyDirectObject] stringValue];
  if (aURL != nil && [aURL hasPrefix: @"mailto:"])
    [to setStringValue: [aURL substringFromIndex: 7]];
}

- (void) doAlert: (NSString *) theMessage
          adding: (NSString *) theInformativeText
    parentWindow: (NSWindow *) theWindow
      alertStyle: (NSAlertStyle) theStyle
{
  NSBeep();
  NSAlert *anAlert = [NSAlert alertWithMessageText: theMessage
                                     defaultButton: @"OK"
                                   alternateButton: nil
                                       otherButton: nil
                         informativeTextWithFormat: theInformativeText, nil];
  if (theWindow == nil)
    {
      [anAlert setAlertStyle: theStyle];
      [anAlert runModal];
      return;
    }
  [anAlert beginSheetModalForWindow: theWindow
                      modalDelegate: self
                     didEndSelector: NULL
                        contextInfo: NULL];
}

- (void) doAlert: (NSString *) theMessage adding: (NSString *) theInformativeText
{
  [self doAlert: theMessage adding: theInformativeText parentWindow: mainWindow alertStyle: NSWarningAlertStyle];
}

@end
