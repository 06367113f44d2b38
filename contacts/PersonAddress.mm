#import "PersonAddress.h"
#import <Addresses/Addresses.h>

NSString *TolvoPersonAddress(ADPerson *thePerson)
{
  ADMultiValue *addresses = [thePerson valueForProperty: ADEmailProperty];
  if (addresses == nil || [addresses count] == 0)
    return nil;
  NSUInteger anIndex = NSNotFound;
  NSString *aPrimary = [addresses primaryIdentifier];
  if (aPrimary != nil)
    anIndex = [addresses indexForIdentifier: aPrimary];
  if (anIndex == NSNotFound || anIndex >= [addresses count])
    anIndex = 0;
  return [NSString stringWithFormat: @"%@", [addresses valueAtIndex: anIndex]];
}

NSString *TolvoPersonDisplayName(ADPerson *thePerson)
{
  return [NSString stringWithFormat: @"%@ %@",
                   [thePerson valueForProperty: ADFirstNameProperty],
                   [thePerson valueForProperty: ADLastNameProperty]];
}
