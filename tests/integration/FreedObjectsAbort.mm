// In this test program every freed object stays behind as a zombie, and a
// message sent to one aborts the program. A session that lets its service
// go while the run loop still watches the socket then fails the test that
// caused it, instead of crashing at some later, unrelated moment or not at
// all. AddressSanitizer cannot see these: the stale message goes through
// the Objective-C runtime and Pantomime, which are not instrumented.
#include <cstdlib>

__attribute__((constructor)) static void keepFreedObjectsAsZombies()
{
  // Before GNUstep reads them, as the program starts; a value already set
  // in the environment wins.
  setenv("NSZombieEnabled", "YES", 0);
  setenv("CRASH_ON_ZOMBIE", "YES", 0);
}
