// The questions about what is beyond the appliance (line_questions.h).
#pragma once

#include "nat/line_questions.h"

// Does the gateway answer, a name server, a host of the internet? The second one finds out that
// host's address.
void ask_gateway(Step& step);
void ask_name_servers(Step& step);
void ask_outside(Step& step);
