// Daemon control: starting and stopping diald and the filtering proxy, and IP forwarding.
#pragma once

#include "base/text.h"

using PidText = Text<16>;

// Sleeps 2 seconds; 0. (Action "Delay".)
int Delay1();

// Finds the first process id that "pidof" gives for a daemon. 0 found, 1 not. Also 0, with nothing
// copied, when "pidof" cannot be asked.
int GetPid(const char* name, PidText& pid);

// Reads a daemon's pid file: the number in it, 0 when it holds none, -37 when there is no path or
// it is "none", -1 when it cannot be opened or is not to be believed: a link, no regular file, or
// one that belongs neither to the user that this program runs as nor to that of the process it
// names.
int ReadPidFile(const char* path);

// The pid of the running proxy, by the pid file that its own settings name; below 2: none, also
// when the process of that number is another program or "/proc" does not tell what it is.
int SquidPid();

// Starts the proxy unless it runs; 0.
int StartSquid();

// Terminates the proxy by the pid file that its settings name. 0 done or nothing running, -1 when
// the signal could not be sent.
int KillSquid();

// Terminates diald. 0 when none runs or it was told to end, else the status of a kill command that
// failed. (Action "KDiald".)
int StopDiald();

// Starts diald when the WAN method is the serial port. 0, or the result of the step that failed.
// (Action "SDiald".)
int StartDiald();

// Sets the IP-forwarding line of "/etc/sysctl.conf" to "1" or "0"; a file without that line gets
// none. The network programs apply the file. 0; 1 unreadable, 2 not written, -1 not renamed.
[[nodiscard]] int SetIPV4(const char* value);

// Sets IP forwarding as internet sharing is switched and reruns the appliance's network programs;
// 0. (Action "RSNet".)
int RestartNet();

// Makes the proxy read its settings again: a hang-up signal to the pid in its pid file. 0, or -36
// when none runs. (Action "RCFilter".)
int ProcReconfigFilter();
