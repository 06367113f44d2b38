// The names of the people picker's selection notifications, as the
// controller observes them. The picker view posts them with itself as sender.
#import <Foundation/Foundation.h>

extern NSString *const ABPeoplePickerNameSelectionDidChangeNotification;
extern NSString *const ABPeoplePickerValueSelectionDidChangeNotification;
extern NSString *const ABPeoplePickerDisplayedPropertyDidChangeNotification;
