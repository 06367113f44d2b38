#import "PreferencesPanel.h"
#import "NSTextField+Label.h"
#import "MyCharacterFormatter.h"
#import "TolvoController+Settings.h"
#import "LoginPassword.h"
#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Pace.h"

NSString *const TolvoPreferencesPanelTitle = @"Preferences";

// Geometry, in points.
static const CGFloat PanelWidth = 460;
static const CGFloat Margin = 14;
static const CGFloat LabelWidth = 150;
static const CGFloat FieldGap = 8;
static const CGFloat RowHeight = 24;
static const CGFloat RowGap = 8;
static const CGFloat HeadingHeight = 20;

typedef enum {
  RowHeading,     // a section title, no key
  RowText,        // string key, plain text field
  RowSecureText,  // string key, secure text field
  RowNumber,      // integer key typed as digits
  RowChoice,      // integer key, the index of a pop-up item
  RowSwitch       // boolean key, a checkbox
} RowKind;

typedef struct {
  RowKind kind;
  const char *label;
  NSString *const *key;
  const char *choices;  // pop-up items, separated by '|'
} PanelRow;

static const PanelRow PanelRows[] = {
  { RowHeading, "Sender", NULL, NULL },
  { RowText, "Email Address:", &TolvoSenderEmailKey, NULL },
  { RowText, "Name:", &TolvoSenderNameKey, NULL },
  { RowHeading, "Default Recipient", NULL, NULL },
  { RowText, "Recipient Address:", &TolvoDefaultRecipientEmailKey, NULL },
  { RowText, "Recipients Name:", &TolvoDefaultRecipientNameKey, NULL },
  { RowHeading, "Message", NULL, NULL },
  { RowChoice, "Typed Text:", &TolvoSelectedContentTypeKey, "HTML|Plain text|No typed text" },
  { RowChoice, "Character Set:", &TolvoSelectedCharacterSetKey, "UTF-8|ASCII|ISO Latin 1|Shift JIS" },
  { RowHeading, "Outgoing SMTP Server", NULL, NULL },
  { RowText, "Address:", &TolvoServerAddressKey, NULL },
  { RowNumber, "Port:", &TolvoServerPortKey, NULL },
  { RowSwitch, "Use SSL", &TolvoUseSSLKey, NULL },
  { RowChoice, "Authentication:", &TolvoSelectedAuthenticationKey, "None|PLAIN|LOGIN|CRAM-MD5" },
  { RowText, "Username:", &TolvoLoginUsernameKey, NULL },
  { RowSecureText, "Password:", &TolvoLoginPasswordKey, NULL },
  { RowHeading, "After Sending", NULL, NULL },
  { RowChoice, "When Done:", &TolvoCompletionActionKey, "Nothing|Quit|Reset form" },

  // Large mailings: a sending limit, and mailed recipients kept across
  // launches so that a run goes on after a crash.
  { RowHeading, "Large Mailings", NULL, NULL },
  { RowNumber, "Messages per Minute:", &TolvoMessagesPerMinuteKey, NULL },
  { RowSwitch, "Remember mailed recipients", &TolvoRememberMailedRecipientsKey, NULL },
};
static const int PanelRowCount = sizeof(PanelRows) / sizeof(PanelRows[0]);

static CGFloat HeightOfRow(const PanelRow &theRow)
{
  return theRow.kind == RowHeading ? HeadingHeight + 4 : RowHeight + RowGap;
}

@interface PreferencesPanel (Private)
- (void) _layoutPanel;
- (id) _controlForRow: (const PanelRow &) theRow frame: (NSRect) theFrame;
- (NSString *) _keyOfControl: (id) theControl;
- (void) _writeValueOfControl: (id) theControl;
@end

@implementation PreferencesPanel (Private)

- (id) _controlForRow: (const PanelRow &) theRow frame: (NSRect) theFrame
{
  NSString *aTitle = [NSString stringWithUTF8String: theRow.label];
  switch (theRow.kind)
    {
    case RowChoice:
      {
        NSPopUpButton *aPopUp = AUTORELEASE([[NSPopUpButton alloc] initWithFrame: theFrame
                                                                       pullsDown: NO]);
        [aPopUp addItemsWithTitles: [[NSString stringWithUTF8String: theRow.choices]
                                      componentsSeparatedByString: @"|"]];
        [aPopUp setTarget: self];
        [aPopUp setAction: @selector(choiceChanged:)];
        return aPopUp;
      }
    case RowSwitch:
      {
        NSButton *aSwitch = AUTORELEASE([[NSButton alloc] initWithFrame: theFrame]);
        [aSwitch setButtonType: NSSwitchButton];
        [aSwitch setTitle: aTitle];
        [aSwitch setTarget: self];
        [aSwitch setAction: @selector(choiceChanged:)];
        return aSwitch;
      }
    default:
      {
        Class aClass = theRow.kind == RowSecureText ? [NSSecureTextField class]
                                                    : [NSTextField class];
        NSTextField *aField = AUTORELEASE([[aClass alloc] initWithFrame: theFrame]);
        [aField setDelegate: (id)self];
        if (theRow.kind == RowNumber)
          {
            // A port has at most five digits; the formatter keeps anything
            // pasted here short enough to read in the field.
            [aField setFormatter: portFormatter];
            [aField setFrame: NSMakeRect(NSMinX(theFrame), NSMinY(theFrame), 90,
                                         NSHeight(theFrame))];
          }
        return aField;
      }
    }
}

- (void) _layoutPanel
{
  CGFloat aHeight = 2 * Margin;
  for (int i = 0; i < PanelRowCount; i++)
    aHeight += HeightOfRow(PanelRows[i]);

  panel = [[NSPanel alloc] initWithContentRect: NSMakeRect(200, 160, PanelWidth, aHeight)
                                     styleMask: NSTitledWindowMask | NSClosableWindowMask
                                       backing: NSBackingStoreBuffered
                                         defer: NO];
  [panel setTitle: TolvoPreferencesPanelTitle];
  [panel setReleasedWhenClosed: NO];
  [panel setHidesOnDeactivate: NO];
  NSView *content = [panel contentView];

  CGFloat fieldX = Margin + LabelWidth + FieldGap;
  CGFloat fieldWidth = PanelWidth - fieldX - Margin;
  CGFloat top = aHeight - Margin;
  NSView *previous = nil;
  for (int i = 0; i < PanelRowCount; i++)
    {
      const PanelRow &aRow = PanelRows[i];
      top -= HeightOfRow(aRow);
      NSString *aTitle = [NSString stringWithUTF8String: aRow.label];
      if (aRow.kind == RowHeading)
        {
          NSTextField *aHeading = [NSTextField labelWithText: aTitle
                                                 frame: NSMakeRect(Margin, top, PanelWidth - 2 * Margin,
                                                                   HeadingHeight)];
          [aHeading setAlignment: NSLeftTextAlignment];
          [aHeading setFont: [NSFont boldSystemFontOfSize: 0]];
          [content addSubview: aHeading];
          continue;
        }
      CGFloat y = top + RowGap;
      if (aRow.kind != RowSwitch)
        [content addSubview: [NSTextField labelWithText: aTitle
                                            frame: NSMakeRect(Margin, y + 2, LabelWidth,
                                                              RowHeight - 4)]];
      id aControl = [self _controlForRow: aRow
                                   frame: NSMakeRect(fieldX, y, fieldWidth, RowHeight)];
      [content addSubview: aControl];
      [controls setObject: aControl forKey: *aRow.key];
      if (previous == nil)
        [panel setInitialFirstResponder: aControl];
      else
        [previous setNextKeyView: aControl];
      previous = aControl;
    }
}

- (NSString *) _keyOfControl: (id) theControl
{
  NSArray *aKeys = [controls allKeysForObject: theControl];
  return [aKeys count] > 0 ? [aKeys objectAtIndex: 0] : nil;
}

- (void) _writeValueOfControl: (id) theControl
{
  NSString *aKey = [self _keyOfControl: theControl];
  if (aKey == nil)
    return;
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  // The password lives in the keyring under the server and the user name:
  // it is written there, and follows those two while they are edited.
  if ([aKey isEqualToString: TolvoLoginPasswordKey])
    {
      [LoginPassword setPassword: [theControl stringValue] inDefaults: aStore];
      return;
    }
  NSString *anOldServer = [LoginPassword serverInDefaults: aStore];
  NSString *anOldUser = [LoginPassword userInDefaults: aStore];
  if ([theControl isKindOfClass: [NSPopUpButton class]])
    [aStore setInteger: [theControl indexOfSelectedItem] forKey: aKey];
  else if ([theControl isKindOfClass: [NSButton class]])
    [aStore setBool: [theControl state] == NSOnState forKey: aKey];
  else if ([theControl formatter] == portFormatter)
    [aStore setInteger: [[theControl stringValue] intValue] forKey: aKey];
  else
    [aStore setObject: [theControl stringValue] forKey: aKey];
  [aStore synchronize];
  if ([aKey isEqualToString: TolvoServerAddressKey] || [aKey isEqualToString: TolvoLoginUsernameKey])
    [LoginPassword movePasswordFromServer: anOldServer user: anOldUser inDefaults: aStore];
}

@end

@implementation PreferencesPanel

+ (PreferencesPanel *) sharedPanel
{
  static PreferencesPanel *sharedPanel = nil;
  if (sharedPanel == nil)
    sharedPanel = [[PreferencesPanel alloc] init];
  return sharedPanel;
}

- (id) init
{
  if ((self = [super init]) != nil)
    {
      controls = [[NSMutableDictionary alloc] init];
      portFormatter = [[MyCharacterFormatter alloc] init];
      [self _layoutPanel];
    }
  return self;
}

- (void) dealloc
{
  RELEASE(panel);
  RELEASE(controls);
  RELEASE(portFormatter);
  [super dealloc];
}

- (NSPanel *) panel
{
  return panel;
}

- (id) controlForKey: (NSString *) theKey
{
  return [controls objectForKey: theKey];
}

- (void) showPanel: (id) theSender
{
  [self showStoredValues];
  [panel makeKeyAndOrderFront: theSender];
}

- (void) showStoredValues
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  [aStore synchronize];
  NSEnumerator *anEnumerator = [controls keyEnumerator];
  NSString *aKey;
  while ((aKey = [anEnumerator nextObject]) != nil)
    {
      id aControl = [controls objectForKey: aKey];
      if ([aControl isKindOfClass: [NSPopUpButton class]])
        {
          NSInteger anIndex = [aStore integerForKey: aKey];
          // A stored number outside the list (the mailing treats it as
          // "nothing"/"no text"/UTF-8) shows no choice rather than a wrong one.
          if (anIndex >= 0 && anIndex < [aControl numberOfItems])
            [aControl selectItemAtIndex: anIndex];
          else
            [aControl selectItemAtIndex: -1];
        }
      else if ([aControl isKindOfClass: [NSButton class]])
        [aControl setState: [aStore boolForKey: aKey] ? NSOnState : NSOffState];
      else if ([aControl formatter] == portFormatter)
        [aControl setStringValue: [aStore objectForKey: aKey] == nil
          ? @"" : [NSString stringWithFormat: @"%ld", (long)[aStore integerForKey: aKey]]];
      else if ([aKey isEqualToString: TolvoLoginPasswordKey])
        {
          NSString *aValue = [LoginPassword passwordInDefaults: aStore];
          [aControl setStringValue: aValue != nil ? aValue : @""];
        }
      else
        {
          NSString *aValue = [aStore stringForKey: aKey];
          [aControl setStringValue: aValue != nil ? aValue : @""];
        }
    }
}

- (void) controlTextDidChange: (NSNotification *) theNotification
{
  [self _writeValueOfControl: [theNotification object]];
}

- (void) choiceChanged: (id) theSender
{
  [self _writeValueOfControl: theSender];
}

@end
