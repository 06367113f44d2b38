#import "RecordedAlerts.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"

#include <objc/runtime.h>

static NSMutableArray *alertsAsked = nil;

static void recordAlert(id theController, SEL theSelector, NSString *theMessage, NSString *theText)
{
  [alertsAsked addObject: [NSArray arrayWithObjects: theMessage, theText, nil]];
}

void RecordAlertsInsteadOfShowingThem(void)
{
  if (alertsAsked == nil)
    alertsAsked = [NSMutableArray new];
  [alertsAsked removeAllObjects];
  Method aMethod = class_getInstanceMethod([TolvoController class], @selector(doAlert:adding:));
  method_setImplementation(aMethod, (IMP)recordAlert);
}

NSArray *RecordedAlerts(void)
{
  return alertsAsked;
}
