#include "BareDisplayOffsets.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace tolvo {
namespace {

// GNUstep records four 16-bit offsets (left, right, top, bottom) for each
// of the window styles 1 to 15.
const int kOffsetCount = 60;

// A window manager that follows the EWMH (or the older GNOME hints) names a
// check window on the root window, and that window names itself.
bool announcesWindowManager(Display *theDisplay, const char *theAtom, Atom theType)
{
  Atom anAtom = XInternAtom(theDisplay, theAtom, True);
  if (anAtom == None)
    return false;
  Window aRoot = DefaultRootWindow(theDisplay);
  Atom aType = None;
  int aFormat = 0;
  unsigned long aCount = 0, anAfter = 0;
  unsigned char *aValue = nullptr;
  bool found = false;
  if (XGetWindowProperty(theDisplay, aRoot, anAtom, 0, 1, False, theType, &aType, &aFormat,
                         &aCount, &anAfter, &aValue) == Success
      && aValue != nullptr && aCount == 1 && aFormat == 32)
    {
      Window aCheck = *reinterpret_cast<Window *>(aValue);
      unsigned char *itsValue = nullptr;
      // The check window may be gone (a window manager that died): an X
      // error then, which the handler below swallows.
      if (XGetWindowProperty(theDisplay, aCheck, anAtom, 0, 1, False, theType, &aType,
                             &aFormat, &aCount, &anAfter, &itsValue) == Success
          && itsValue != nullptr && aCount == 1)
        found = *reinterpret_cast<Window *>(itsValue) == aCheck;
      if (itsValue != nullptr)
        XFree(itsValue);
    }
  if (aValue != nullptr)
    XFree(aValue);
  return found;
}

bool hasProperty(Display *theDisplay, const char *theAtom)
{
  Atom anAtom = XInternAtom(theDisplay, theAtom, True);
  if (anAtom == None)
    return false;
  Atom aType = None;
  int aFormat = 0;
  unsigned long aCount = 0, anAfter = 0;
  unsigned char *aValue = nullptr;
  XGetWindowProperty(theDisplay, DefaultRootWindow(theDisplay), anAtom, 0, 1, False,
                     AnyPropertyType, &aType, &aFormat, &aCount, &anAfter, &aValue);
  if (aValue != nullptr)
    XFree(aValue);
  return aType != None;
}

int ignoreError(Display *, XErrorEvent *)
{
  return 0;
}

}  // namespace

BareDisplayOffsets::BareDisplayOffsets()
{
  Display *aDisplay = XOpenDisplay(nullptr);
  if (aDisplay == nullptr)
    return;
  display_ = aDisplay;
  auto previousHandler = XSetErrorHandler(ignoreError);
  bool managed = announcesWindowManager(aDisplay, "_NET_SUPPORTING_WM_CHECK", XA_WINDOW)
                 || announcesWindowManager(aDisplay, "_WIN_SUPPORTING_WM_CHECK", XA_CARDINAL)
                 || hasProperty(aDisplay, "_WINDOWMAKER_WM_PROTOCOLS");
  if (!managed && !hasProperty(aDisplay, "_GNUSTEP_FRAME_OFFSETS"))
    {
      unsigned short zeros[kOffsetCount] = {0};
      Atom anAtom = XInternAtom(aDisplay, "_GNUSTEP_FRAME_OFFSETS", False);
      XChangeProperty(aDisplay, DefaultRootWindow(aDisplay), anAtom, XA_CARDINAL, 16,
                      PropModeReplace, reinterpret_cast<unsigned char *>(zeros), kOffsetCount);
      recorded_ = true;
    }
  XSync(aDisplay, False);
  XSetErrorHandler(previousHandler);
}

BareDisplayOffsets::~BareDisplayOffsets()
{
  Display *aDisplay = static_cast<Display *>(display_);
  if (aDisplay == nullptr)
    return;
  if (recorded_)
    {
      XDeleteProperty(aDisplay, DefaultRootWindow(aDisplay),
                      XInternAtom(aDisplay, "_GNUSTEP_FRAME_OFFSETS", False));
      XSync(aDisplay, False);
    }
  XCloseDisplay(aDisplay);
}

}  // namespace tolvo
