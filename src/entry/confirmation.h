// Changes on condition, as the confirmed commit of NETCONF (RFC 6241, 8.4): whoever posts
// "confirm_within=SECONDS" beside a change has it taken back unless "todo=confirm" with its number
// ("change") comes within that time, so that nobody is locked out by a change of their own. One
// change waits at a time, and nothing else is changed meanwhile.
#pragma once

#include <span>

#include "framework/cgi-lib.h"
#include "framework/parser.h"

// How requests are refused, beside their text: those that would have to wait for a change to be
// kept get a status of their own, as sending them again does not help before that.
inline constexpr std::string_view kLocked = "423 Locked";  // RFC 4918, 11.3

// Why a form that acts must not, because of its own wish to wait or of a change that waits: the
// number of the message in `message`; 0 when it may. The undo of the very change that waits may.
int refusal_for_waiting(const FormList& form, Message& message);

// Makes what this request changes wait to be kept, if the form wishes it; after keep_changes_of().
// When the request ends, a process of its own goes on waiting, without the turn: it takes the
// change back when the time is over, unless somebody was quicker. Should it end before, whoever
// comes next does so (recovery.h). A preview changes nothing, so nothing waits.
void wait_if_wished(const FormList& form);

// Keeps the change that waits if the form names it; the caller has the turn. Otherwise false, with
// a text in `message`.
[[nodiscard]] bool keep_waiting_change(const FormList& form, Message& message);

// Says that this request's change is the undo of the one that waits, if one does.
void end_waiting_by_undo();

// The number of the change that waits to be kept, this request's own included; 0 without one. The
// disk is looked at once.
unsigned waiting_change();

// What all pages know: "waiting", the number of the change that waits, and "waiting_left", its
// seconds, both empty without one; "from_outside", "checked" for a browser that is not in the LAN.
std::span<const CommonKey> confirmation_keys();
