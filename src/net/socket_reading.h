// Reading what waits on a non-blocking stream socket, as both kinds of connection do.
#pragma once

#include "platform/event_loop.h"

#include <string>

namespace cvl {

enum class ReadEnd { Drained, Ended, Broken };

// Appends to `into` what the socket holds, in at most `rounds` reads so that a peer that
// keeps sending is read again on the next pass of the loop. Ended: the peer's orderly close;
// Broken: a reset or another failure; Drained: nothing more for now (or the rounds ran out).
ReadEnd readWaiting(NativeSocket socket, std::string& into, int rounds);

} // namespace cvl
