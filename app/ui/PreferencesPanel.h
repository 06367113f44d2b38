// The Preferences panel and its small controller: one row for each
// preference key that the mailing reads (the Contacts window's "Whole Group"
// checkbox holds the remaining one, wholeGroup). Each edit is written to the
// standard preferences store at once and synchronized, so that the getters of
// TolvoController, which synchronize before every read, see it; opening the
// panel shows what the store holds. TolvoController itself writes no key.
#import <AppKit/AppKit.h>

extern NSString *const TolvoPreferencesPanelTitle;

@interface PreferencesPanel : NSObject
{
  NSPanel *panel;
  NSMutableDictionary *controls;     // preference key -> its control
  NSFormatter *portFormatter;
}
// The one panel of the application, built on first use.
+ (PreferencesPanel *) sharedPanel;

- (NSPanel *) panel;
// Shows the stored values and brings the panel to the front.
- (void) showPanel: (id) theSender;
// Puts the store's values into every control.
- (void) showStoredValues;
// The control that edits a preference key (a text field, a pop-up button
// or a checkbox); nil for a key the panel does not hold.
- (id) controlForKey: (NSString *) theKey;

// The controls' actions and the text fields' delegate method: each writes
// its own key.
- (void) controlTextDidChange: (NSNotification *) theNotification;
- (void) choiceChanged: (id) theSender;
@end
