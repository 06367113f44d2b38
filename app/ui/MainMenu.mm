#import "MainMenu.h"
#import "TolvoController.h"

@interface MainMenu (Private)
+ (NSMenuItem *) _addItem: (NSString *) theTitle
                   action: (SEL) theAction
                      key: (NSString *) theKey
                   target: (id) theTarget
                   toMenu: (NSMenu *) theMenu;
+ (NSMenu *) _submenu: (NSString *) theTitle of: (NSMenu *) theMenu;
@end

@implementation MainMenu (Private)

+ (NSMenuItem *) _addItem: (NSString *) theTitle
                   action: (SEL) theAction
                      key: (NSString *) theKey
                   target: (id) theTarget
                   toMenu: (NSMenu *) theMenu
{
  NSMenuItem *anItem = (NSMenuItem *)[theMenu addItemWithTitle: theTitle action: theAction keyEquivalent: theKey];
  [anItem setTarget: theTarget];
  return anItem;
}

+ (NSMenu *) _submenu: (NSString *) theTitle of: (NSMenu *) theMenu
{
  NSMenuItem *anItem = (NSMenuItem *)[theMenu addItemWithTitle: theTitle action: NULL keyEquivalent: @""];
  NSMenu *aMenu = AUTORELEASE([[NSMenu alloc] initWithTitle: theTitle]);
  [theMenu setSubmenu: aMenu forItem: anItem];
  return aMenu;
}

@end

@implementation MainMenu

+ (NSMenu *) menuForController: (TolvoController *) theController
{
  NSMenu *aMain = AUTORELEASE([[NSMenu alloc] initWithTitle: @"Tolvo"]);

  NSMenu *anApp = [self _submenu: @"Tolvo" of: aMain];
  [self _addItem: @"Preferences..." action: @selector(showPreferences:) key: @","
          target: theController toMenu: anApp];
  [self _addItem: @"Import Contacts..." action: @selector(importContacts:) key: @""
          target: theController toMenu: anApp];
  [self _addItem: @"Import People from CSV..." action: @selector(importContactsFromCSV:) key: @""
          target: theController toMenu: anApp];
  [self _addItem: @"Open Console" action: @selector(openConsole:) key: @"l"
          target: theController toMenu: anApp];
  [self _addItem: @"Send Test Email" action: @selector(testEmail:) key: @""
          target: theController toMenu: anApp];
  [self _addItem: @"Website" action: @selector(goToWebsite:) key: @""
          target: theController toMenu: anApp];
  [self _addItem: @"Tolvo Help" action: @selector(showHelp:) key: @"?"
          target: theController toMenu: anApp];
  [self _addItem: @"Quit" action: @selector(terminate:) key: @"q"
          target: NSApp toMenu: anApp];

  NSMenu *anEdit = [self _submenu: @"Edit" of: aMain];
  [self _addItem: @"Undo" action: @selector(undo:) key: @"z" target: nil toMenu: anEdit];
  [self _addItem: @"Cut" action: @selector(cut:) key: @"x" target: nil toMenu: anEdit];
  [self _addItem: @"Copy" action: @selector(copy:) key: @"c" target: nil toMenu: anEdit];
  [self _addItem: @"Paste" action: @selector(paste:) key: @"v" target: nil toMenu: anEdit];
  [self _addItem: @"Select All" action: @selector(selectAll:) key: @"a" target: nil toMenu: anEdit];

  NSMenu *aFormat = [self _submenu: @"Format" of: aMain];
  NSMenuItem *aFont = (NSMenuItem *)[aFormat addItemWithTitle: @"Font" action: NULL keyEquivalent: @""];
  [aFormat setSubmenu: [[NSFontManager sharedFontManager] fontMenu: YES] forItem: aFont];
  [self _addItem: @"Show Ruler" action: @selector(toggleRuler:) key: @"" target: nil toMenu: aFormat];

  NSMenu *aWindows = [self _submenu: @"Windows" of: aMain];
  [self _addItem: @"Contacts" action: @selector(addressBook:) key: @"k"
          target: theController toMenu: aWindows];
  [self _addItem: @"Mailed Recipients" action: @selector(showRecipients:) key: @""
          target: theController toMenu: aWindows];
  [self _addItem: @"Attachments" action: @selector(showAttachments:) key: @""
          target: theController toMenu: aWindows];
  [self _addItem: @"Preview" action: @selector(showPreview:) key: @"p"
          target: theController toMenu: aWindows];
  return aMain;
}

@end
