#import "RunProfile.h"
#include <objc/runtime.h>
#include <time.h>
#include <vector>

namespace {

enum Phase { Session = 0, Compose = 1, Window = 2 };

struct Counter {
  bool counting = false;
  double last = 0;
  double seconds[3] = {0, 0, 0};
  std::vector<Phase> phases;

  static double now()
  {
    struct timespec aTime;
    clock_gettime(CLOCK_MONOTONIC, &aTime);
    return aTime.tv_sec + aTime.tv_nsec / 1e9;
  }
  Phase current() const { return phases.empty() ? Session : phases.back(); }
  void charge()
  {
    double aNow = now();
    if (counting)
      seconds[current()] += aNow - last;
    last = aNow;
  }
  void enter(Phase thePhase)
  {
    charge();
    phases.push_back(thePhase);
  }
  void leave()
  {
    charge();
    if (!phases.empty())
      phases.pop_back();
  }
};

Counter counter;

// One wrapper per method signature; each slot remembers the original.
struct Slot {
  const char *className;
  const char *selector;
  Phase phase;
  IMP original;
};

Slot slots[] = {
  { "TolvoController", "statusMsg:", Window, nullptr },
  { "TolvoController", "addRecipient:", Window, nullptr },
  { "TolvoController", "_runClockTicked:", Window, nullptr },
  { "TolvoController", "sendMember", Window, nullptr },
  { "TolvoController", "endRun", Window, nullptr },
  { "SMTP", "sendMail:", Compose, nullptr },
  { "SMTP", "_startSession:", Session, nullptr },
  { "CWMessage", "dataValue", Compose, nullptr },
};

Slot *slotFor(id theObject, SEL theSelector)
{
  for (Slot &aSlot : slots)
    {
      if (sel_isEqual(sel_registerName(aSlot.selector), theSelector)
          && [theObject isKindOfClass: objc_getClass(aSlot.className)])
        return &aSlot;
    }
  return nullptr;
}

void wrappedWithObject(id self, SEL _cmd, id theArgument)
{
  Slot *aSlot = slotFor(self, _cmd);
  counter.enter(aSlot->phase);
  ((void (*)(id, SEL, id))aSlot->original)(self, _cmd, theArgument);
  counter.leave();
}

id wrappedAnsweringObject(id self, SEL _cmd)
{
  Slot *aSlot = slotFor(self, _cmd);
  counter.enter(aSlot->phase);
  id anAnswer = ((id (*)(id, SEL))aSlot->original)(self, _cmd);
  counter.leave();
  return anAnswer;
}

BOOL wrappedAnsweringBool(id self, SEL _cmd)
{
  Slot *aSlot = slotFor(self, _cmd);
  counter.enter(aSlot->phase);
  BOOL anAnswer = ((BOOL (*)(id, SEL))aSlot->original)(self, _cmd);
  counter.leave();
  return anAnswer;
}

void wrappedVoid(id self, SEL _cmd)
{
  Slot *aSlot = slotFor(self, _cmd);
  counter.enter(aSlot->phase);
  ((void (*)(id, SEL))aSlot->original)(self, _cmd);
  counter.leave();
}

void install()
{
  for (Slot &aSlot : slots)
    {
      Class aClass = objc_getClass(aSlot.className);
      SEL aSelector = sel_registerName(aSlot.selector);
      Method aMethod = aClass != Nil ? class_getInstanceMethod(aClass, aSelector) : nullptr;
      if (aMethod == nullptr)
        {
          fprintf(stderr, "bench_mailing_run: no -[%s %s] to measure\n", aSlot.className, aSlot.selector);
          continue;
        }
      const char *types = method_getTypeEncoding(aMethod);
      IMP aWrapper;
      if (strchr(aSlot.selector, ':') != nullptr)
        aWrapper = (IMP)wrappedWithObject;
      else if (types[0] == '@')
        aWrapper = (IMP)wrappedAnsweringObject;
      else if (types[0] == 'C' || types[0] == 'c' || types[0] == 'B')
        aWrapper = (IMP)wrappedAnsweringBool;
      else
        aWrapper = (IMP)wrappedVoid;
      aSlot.original = method_getImplementation(aMethod);
      // On the class itself, so an inherited method is wrapped for it alone.
      class_replaceMethod(aClass, aSelector, aWrapper, types);
    }
}

}  // namespace

void BenchProfileStart(void)
{
  static bool installed = false;
  if (!installed)
    install();
  installed = true;
  counter = Counter();
  counter.last = Counter::now();
  counter.counting = true;
}

RunProfile BenchProfileStop(void)
{
  counter.charge();
  counter.counting = false;
  RunProfile aProfile;
  aProfile.session = counter.seconds[Session];
  aProfile.compose = counter.seconds[Compose];
  aProfile.window = counter.seconds[Window];
  return aProfile;
}
