#import "ProcessList.h"

#include <ctype.h>
#include <dirent.h>
#include <stdio.h>
#include <string.h>

// The first line of a small /proc file, without its line end; empty when
// the file cannot be read (the process may have ended meanwhile).
static NSString *firstLineOfProcFile(const char *thePath)
{
  FILE *aFile = fopen(thePath, "r");
  if (aFile == NULL)
    return nil;
  char buffer[4096];
  size_t aLength = fread(buffer, 1, sizeof(buffer) - 1, aFile);
  fclose(aFile);
  buffer[aLength] = '\0';
  // cmdline separates its arguments with NUL: the first one ends there.
  size_t anEnd = strcspn(buffer, "\n");
  buffer[anEnd] = '\0';
  if (buffer[0] == '\0')
    return nil;
  return [NSString stringWithUTF8String: buffer];
}

NSSet *runningExecutableNames(void)
{
  NSMutableSet *names = [NSMutableSet set];
  DIR *aFolder = opendir("/proc");
  if (aFolder == NULL)
    return names;
  struct dirent *anEntry;
  while ((anEntry = readdir(aFolder)) != NULL)
    {
      if (!isdigit((unsigned char)anEntry->d_name[0]))
        continue;
      char aPath[64];
      snprintf(aPath, sizeof(aPath), "/proc/%.20s/comm", anEntry->d_name);
      NSString *aName = firstLineOfProcFile(aPath);
      if (aName != nil)
        [names addObject: aName];
      snprintf(aPath, sizeof(aPath), "/proc/%.20s/cmdline", anEntry->d_name);
      NSString *anArgument = firstLineOfProcFile(aPath);
      if (anArgument != nil && [[anArgument lastPathComponent] length] > 0)
        [names addObject: [anArgument lastPathComponent]];
    }
  closedir(aFolder);
  return names;
}

BOOL isExecutableRunning(NSString *theName)
{
  if ([theName length] == 0)
    return NO;
  return [runningExecutableNames() containsObject: theName];
}
