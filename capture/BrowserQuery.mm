#import "BrowserQuery.h"
#import "ProcessList.h"

// The scripts are /bin/sh text built from the pieces below. Placeholders in
// capitals between "@" are filled per browser: @NAMES@ the executable names,
// @PROFILES@ the profile folders under ~/.config, @CLASS@ an extended regular
// expression for the window class, @SUFFIX@ what the browser appends to the
// page title in its window name.

// The Chromium family writes DevToolsActivePort (first line: the port) into
// the profile folder while its DevTools endpoint is open; /json/list then
// lists the tabs, the most recently active first. The profile folder is
// the --user-data-dir of a running browser process, else a default one.
static const char *DevToolsPiece = R"SH(
fetch_url() {
  if command -v curl >/dev/null 2>&1; then
    curl -s -f --noproxy '*' --max-time 3 "$1"
  else
    /usr/bin/python3 -c 'import sys, urllib.request
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
sys.stdout.write(opener.open(sys.argv[1], timeout=3).read().decode("utf-8"))' "$1"
  fi
}
first_page_field() {
  PYTHONIOENCODING=utf-8 /usr/bin/python3 -c 'import json, sys
for entry in json.load(sys.stdin):
    if entry.get("type") == "page":
        print(entry.get(sys.argv[1], ""))
        break' "$1"
}
devtools_answer() {
  config=${XDG_CONFIG_HOME:-$HOME/.config}
  {
    for process in /proc/[0-9]*; do
      name=$(cat "$process/comm" 2>/dev/null) || continue
      case " @NAMES@ " in *" $name "*) ;; *) continue ;; esac
      tr '\000' '\n' < "$process/cmdline" 2>/dev/null | sed -n 's/^--user-data-dir=//p'
    done
    for profile in @PROFILES@; do printf '%s\n' "$config/$profile"; done
  } | awk '!seen[$0]++' | while IFS= read -r folder; do
    port=$(head -n 1 "$folder/DevToolsActivePort" 2>/dev/null | tr -cd '0-9')
    [ -n "$port" ] || continue
    list=$(fetch_url "http://127.0.0.1:$port/json/list") || continue
    value=$(printf '%s' "$list" | first_page_field "$1" 2>/dev/null)
    if [ -n "$value" ]; then printf '%s\n' "$value"; break; fi
  done
}
)SH";

// The keyboard method: the browser's topmost visible window gets the focus,
// Ctrl+L selects the location field, Ctrl+C copies it; after half a second
// the focus goes back and the clipboard is read. Without a window manager
// (no _NET_ACTIVE_WINDOW) the input focus is set directly.
static const char *KeyboardAddressPiece = R"SH(
browser_window() {
  xdotool search --onlyvisible --class '@CLASS@' 2>/dev/null | tail -n 1
}
focus_window() {
  xdotool windowactivate --sync "$1" 2>/dev/null || xdotool windowfocus "$1" 2>/dev/null
}
keyboard_address() {
  command -v xdotool >/dev/null 2>&1 || return 1
  command -v xclip >/dev/null 2>&1 || return 1
  window=$(browser_window)
  [ -n "$window" ] || return 1
  previous=$(xdotool getwindowfocus 2>/dev/null)
  focus_window "$window" || return 1
  sleep 0.2
  xdotool key --clearmodifiers ctrl+l ctrl+c || return 1
  sleep 0.5
  if [ -n "$previous" ] && [ "$previous" != "$window" ]; then focus_window "$previous"; fi
  xclip -o -selection clipboard
}
)SH";

static const char *KeyboardTitlePiece = R"SH(
browser_window() {
  xdotool search --onlyvisible --class '@CLASS@' 2>/dev/null | tail -n 1
}
window_title() {
  command -v xdotool >/dev/null 2>&1 || return 1
  window=$(browser_window)
  [ -n "$window" ] || return 1
  xdotool getwindowname "$window" | sed -E 's/ (-|–|—) (@SUFFIX@)$//'
}
)SH";

static const char *DevToolsAddressMain = R"SH(
answer=$(devtools_answer url)
if [ -n "$answer" ]; then printf '%s\n' "$answer"; exit 0; fi
keyboard_address
)SH";

static const char *DevToolsTitleMain = R"SH(
answer=$(devtools_answer title)
if [ -n "$answer" ]; then printf '%s\n' "$answer"; exit 0; fi
window_title
)SH";

static const char *KeyboardAddressMain = "\nkeyboard_address\n";
static const char *KeyboardTitleMain = "\nwindow_title\n";

typedef struct
{
  const char *names;     // executable names, separated by spaces
  const char *profiles;  // DevTools profile folders; NULL: no DevTools
  const char *windowClass;
  const char *titleSuffix;
} BrowserRow;

// In table order, one row per value of Browser; AddressOrder and TitleOrder
// below rank the rows.
static const BrowserRow BrowserRows[BrowserCount] = {
  { "chromium chromium-browser chrome google-chrome google-chrome-stable",
    "chromium google-chrome google-chrome-beta google-chrome-unstable",
    "^(chromium|chromium-browser|google-chrome.*)$",
    "Chromium|Google Chrome" },
  { "firefox firefox-esr firefox-bin",
    NULL,
    "^(firefox.*|navigator)$",
    "Mozilla Firefox.*|Firefox.*" },
  { "epiphany epiphany-browser",
    NULL,
    "^(epiphany|org\\.gnome\\.epiphany.*)$",
    "Web|GNOME Web|Epiphany" },
  { "msedge microsoft-edge microsoft-edge-stable",
    "microsoft-edge microsoft-edge-beta microsoft-edge-dev",
    "^(microsoft-edge.*|msedge)$",
    ".*Edge" },
  { "falkon",
    NULL,
    "^falkon$",
    "Falkon" },
};

// Ranks 1 to 5 of each order.
static const Browser AddressOrder[BrowserCount] = {
  BrowserChromium, BrowserFalkon, BrowserEdge, BrowserGnomeWeb, BrowserFirefox
};
static const Browser TitleOrder[BrowserCount] = {
  BrowserChromium, BrowserFirefox, BrowserFalkon, BrowserEdge, BrowserGnomeWeb
};

static NSArray *processNamesOverride = nil;

static NSString *fillPlaceholders(NSString *theScript, const BrowserRow *theRow)
{
  NSString *aScript = theScript;
  const char *keys[] = { "@NAMES@", "@PROFILES@", "@CLASS@", "@SUFFIX@" };
  const char *values[] = { theRow->names, theRow->profiles ? theRow->profiles : "",
                           theRow->windowClass, theRow->titleSuffix };
  for (int i = 0; i < 4; i++)
    aScript = [aScript stringByReplacingOccurrencesOfString: [NSString stringWithUTF8String: keys[i]]
                                                 withString: [NSString stringWithUTF8String: values[i]]];
  return aScript;
}

static NSString *buildScript(const BrowserRow *theRow, BOOL forAddress)
{
  NSMutableString *aScript = [NSMutableString stringWithString: @"#!/bin/sh"];
  BOOL devTools = theRow->profiles != NULL;
  if (devTools)
    [aScript appendString: [NSString stringWithUTF8String: DevToolsPiece]];
  [aScript appendString: [NSString stringWithUTF8String:
    forAddress ? KeyboardAddressPiece : KeyboardTitlePiece]];
  const char *aMain;
  if (devTools)
    aMain = forAddress ? DevToolsAddressMain : DevToolsTitleMain;
  else
    aMain = forAddress ? KeyboardAddressMain : KeyboardTitleMain;
  [aScript appendString: [NSString stringWithUTF8String: aMain]];
  return fillPlaceholders(aScript, theRow);
}

// The ten scripts, built once and kept for the life of the process.
static NSString *scripts[BrowserCount][2];

static NSString *scriptFor(Browser theBrowser, int theKind)
{
  if (theBrowser < 0 || theBrowser >= BrowserCount)
    return nil;
  if (scripts[theBrowser][theKind] == nil)
    scripts[theBrowser][theKind] = RETAIN(buildScript(&BrowserRows[theBrowser], theKind == 0));
  return scripts[theBrowser][theKind];
}

NSArray *browserExecutableNames(Browser theBrowser)
{
  if (theBrowser < 0 || theBrowser >= BrowserCount)
    return nil;
  return [[NSString stringWithUTF8String: BrowserRows[theBrowser].names]
           componentsSeparatedByString: @" "];
}

NSString *browserAddressScript(Browser theBrowser)
{
  return scriptFor(theBrowser, 0);
}

NSString *browserTitleScript(Browser theBrowser)
{
  return scriptFor(theBrowser, 1);
}

void setRunningProcessNamesOverride(NSArray *theNames)
{
  ASSIGN(processNamesOverride, theNames);
}

BOOL isProcessRunning(NSArray *theExecutableNames)
{
  NSEnumerator *e = [theExecutableNames objectEnumerator];
  NSString *aName;
  if (processNamesOverride != nil)
    {
      while ((aName = [e nextObject]) != nil)
        if ([processNamesOverride containsObject: aName])
          return YES;
      return NO;
    }
  NSSet *running = runningExecutableNames();
  while ((aName = [e nextObject]) != nil)
    if ([running containsObject: aName])
      return YES;
  return NO;
}

static Browser firstRunning(const Browser *theOrder)
{
  for (int aRank = 0; aRank < BrowserCount; aRank++)
    if (isProcessRunning(browserExecutableNames(theOrder[aRank])))
      return theOrder[aRank];
  return BrowserCount;
}

Browser chooseAddressBrowser(void)
{
  return firstRunning(AddressOrder);
}

Browser chooseTitleBrowser(void)
{
  return firstRunning(TitleOrder);
}

NSString *chooseAddressScript(void)
{
  return browserAddressScript(chooseAddressBrowser());
}

NSString *chooseTitleScript(void)
{
  return browserTitleScript(chooseTitleBrowser());
}
