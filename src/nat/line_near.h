// The questions about the appliance itself, from its settings to the routes (line_questions.h).
#pragma once

#include "nat/line_questions.h"

// Is internet access switched on? Is an access method set up? The second one finds out the method
// and the interface, without which none of the others can be asked.
void ask_sharing(Step& step);
void ask_method(Step& step);

// The WAN port, or that of the modem; what keeps the link up; whether the port hears something.
void ask_port(Step& step);
void ask_daemon(Step& step);
void ask_cable(Step& step);

// The address of the link, and the route over it, which finds out the gateway.
void ask_address(Step& step);
void ask_routes(Step& step);
