// The serial overview page, "sp_base.htm": the modem and the ISP account as they are stored. It has
// no setter.
#pragma once

#include "framework/page.h"

// Renders the page; message 13 when the internet-sharing record cannot be read.
int get_sp_base(const char* message, const FormList* form);

// What the page shows and takes.
PageTables sp_base_tables();
