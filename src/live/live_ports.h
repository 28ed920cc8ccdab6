// Live ports: the binding of an emulated port to a Linux interface, which
// runs what the port is sent on the engine's thread. The package entry
// point installs it into the emulated chassis and shuts it down at exit.
//
//   Tcl thread                               engine thread
//   port send / command / request   --post-->  PortRuntime: addresses, speakers
//   learned answers (ReplyQueue)    <-answer-  immutable snapshots
//
// A binding copies every record it is given before the copy crosses to the
// engine; no Tcl object and no module object is touched there.
#pragma once

namespace live {

// Makes the emulated chassis able to bind its ports (-netns, -interface).
void installLivePorts();

// Stops every session cleanly (a Cease to each BGP peer), gives back what
// the bound ports added to their interfaces, and joins the engine thread.
// Safe to call more than once and when no port was ever bound.
void shutdownLivePorts();

}  // namespace live
