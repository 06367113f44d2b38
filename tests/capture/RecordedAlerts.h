// The alerts that the controller asks for with doAlert:adding:, recorded
// instead of shown: a sheet runs a modal loop that no test would end. The
// method is replaced for the whole test process.
#import <Foundation/Foundation.h>

// From now on, and with the record emptied.
void RecordAlertsInsteadOfShowingThem(void);
// Each as [message, informative text], in order.
NSArray *RecordedAlerts(void);
