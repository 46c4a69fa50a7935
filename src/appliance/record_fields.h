// Getters of the internet-sharing record, for the rows of key tables. They show one record: the
// page that shows it reads it first.
#pragma once

#include <string>

#include "appliance/ppp_conf.h"
#include "framework/page.h"

inline PPPConf shown_record;

template <int PPPConf::*Field>
int get_switch(ValueText& value, LongText&, int&) {
    return show_switch(value, shown_record.*Field != 0);
}

template <auto Field>
int get_text(ValueText& value, LongText&, int&) {
    return show(value, shown_record.*Field);
}

template <auto Field>
int get_number(ValueText& value, LongText&, int&) {
    return show(value, std::to_string(shown_record.*Field));
}

// Octet 1 to 4 of an address.
template <AddressText PPPConf::*Field, int Number>
int get_octet(ValueText& value, LongText&, int&) {
    return show(value, octet_of(shown_record.*Field, Number));
}
