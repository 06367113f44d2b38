#import "LocalizedStrings.h"

// Created on first use and never emptied or freed: it lives as long as the
// process. Only successful lookups are stored.
static NSMutableDictionary *localizedStringCache = nil;

NSString *TolvoLocalizedCString(const char *theKey)
{
  if (theKey == NULL)
    return nil;
  NSString *aKey = [[NSString alloc] initWithUTF8String: theKey];
  if (aKey == nil)
    return nil;
  NSString *aString = TolvoLocalizedString(aKey);
  [aKey release];
  return aString;
}

NSString *TolvoLocalizedString(NSString *theKey)
{
  if (theKey == nil)
    return nil;
  if (localizedStringCache == nil)
    localizedStringCache = [[NSMutableDictionary alloc] init];

  NSString *aString = [localizedStringCache objectForKey: theKey];
  if (aString != nil)
    return aString;

  aString = [[NSBundle mainBundle] localizedStringForKey: theKey
                                                   value: theKey
                                                   table: @"LocalizedStrings"];
  if (aString == nil)
    return nil;
  [localizedStringCache setObject: aString forKey: theKey];
  return aString;
}
