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

// A string property without its surrounding blanks; nil when missing,
// empty or not a string.
static NSString *NamePart(ADPerson *thePerson, NSString *theProperty)
{
  id aValue = [thePerson valueForProperty: theProperty];
  if (![aValue isKindOfClass: [NSString class]])
    return nil;
  NSString *aPart = [aValue stringByTrimmingCharactersInSet: [NSCharacterSet whitespaceAndNewlineCharacterSet]];
  return [aPart length] > 0 ? aPart : nil;
}

NSString *TolvoPersonName(ADPerson *thePerson)
{
  NSString *aFirst = NamePart(thePerson, ADFirstNameProperty);
  NSString *aLast = NamePart(thePerson, ADLastNameProperty);
  if (aFirst != nil && aLast != nil)
    return [NSString stringWithFormat: @"%@ %@", aFirst, aLast];
  if (aFirst != nil || aLast != nil)
    return aFirst != nil ? aFirst : aLast;
  NSString *aFormatted = NamePart(thePerson, ADFormattedNameProperty);
  if (aFormatted != nil)
    return aFormatted;
  return NamePart(thePerson, ADOrganizationProperty);
}

NSString *TolvoPersonDisplayName(ADPerson *thePerson)
{
  NSString *aName = TolvoPersonName(thePerson);
  if (aName == nil)
    aName = TolvoPersonAddress(thePerson);
  return aName != nil ? aName : @"";
}
