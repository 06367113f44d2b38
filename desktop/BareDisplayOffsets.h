// GNUstep's X back end places a window by the size of the frame that the
// window manager draws around it, and learns those sizes at launch: unless
// the root window already carries them in _GNUSTEP_FRAME_OFFSETS, it maps a
// test window of every style and waits for a window manager to reparent it.
// On a display without a window manager (a bare X session, Xvfb) no test
// ever succeeds, every style is reported as "Failed to determine offsets for
// style N" on standard error, and the offsets stay zero — which is right
// there, since nothing decorates the windows.
//
// BareDisplayOffsets says so beforehand: on a display where no window
// manager announces itself and no offsets are recorded, it records zero
// offsets for every style on the root window while the application sets
// up its display connection, and removes them again afterwards, so a window
// manager started later is measured afresh.
#pragma once

namespace tolvo {

class BareDisplayOffsets {
public:
  // Opens the display named by DISPLAY and records the zero offsets when
  // it has no window manager. Does nothing when there is no display.
  BareDisplayOffsets();
  // Removes the offsets that the constructor recorded, if any.
  ~BareDisplayOffsets();

  BareDisplayOffsets(const BareDisplayOffsets &) = delete;
  BareDisplayOffsets &operator=(const BareDisplayOffsets &) = delete;

  // Whether the constructor recorded the offsets.
  bool recorded() const { return recorded_; }

private:
  void *display_ = nullptr;
  bool recorded_ = false;
};

}  // namespace tolvo
