// A text file's bytes as UTF-8, whatever a spreadsheet or an address book
// saved it in: UTF-16 with a byte-order mark is converted, UTF-8 (with or
// without its byte-order mark) is kept as it is, and anything that is not
// UTF-8 is read as Latin 1, which every byte sequence is.
#import <Foundation/Foundation.h>

NSData *TolvoUTF8TextBytes(NSData *theFile);
