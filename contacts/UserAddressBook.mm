#import "UserAddressBook.h"
#import <Addresses/Addresses.h>

NSString *TolvoUserAddressBookLocation(void)
{
  NSArray *aLibrary = NSSearchPathForDirectoriesInDomains(NSLibraryDirectory,
                                                          NSUserDomainMask, YES);
  if ([aLibrary count] == 0)
    return [[ADLocalAddressBook defaultLocation] stringByExpandingTildeInPath];
  return [[aLibrary objectAtIndex: 0] stringByAppendingPathComponent: @"Addresses"];
}

ADAddressBook *TolvoUserAddressBook(void)
{
  static BOOL located = NO;
  if (!located)
    {
      located = YES;
      [ADLocalAddressBook setDefaultLocation: TolvoUserAddressBookLocation()];
    }
  return [ADAddressBook sharedAddressBook];
}
