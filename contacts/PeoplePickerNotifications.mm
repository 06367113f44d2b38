#import "PeoplePickerNotifications.h"

NSString *const ABPeoplePickerNameSelectionDidChangeNotification =
  @"ABPeoplePickerNameSelectionDidChangeNotification";
NSString *const ABPeoplePickerValueSelectionDidChangeNotification =
  @"ABPeoplePickerValueSelectionDidChangeNotification";
NSString *const ABPeoplePickerDisplayedPropertyDidChangeNotification =
  @"ABPeoplePickerDisplayedPropertyDidChangeNotification";
