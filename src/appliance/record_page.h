// How the pages of the internet-sharing record read it, and write back what a form has changed.
#pragma once

#include "appliance/record_fields.h"
#include "base/paths.h"
#include "framework/page_message.h"

// Reads the record that the getters show. Message 13 when it cannot be read; what they show is then
// what was read so far, or empty.
inline void read_shown_record(PageMessage& message) {
    if (ReadPPPConfig(&shown_record) != 0) message.tell(Msg::CannotReadFile, PppConfFile);
}

// What a setter has done with the record.
struct Saved {
    int refused;  // the setter's result
    bool stored;  // it differed from the file, and the file has it now
};

// Reads the record into `record`, has `walk` check or store the fields of the form in it and, in
// set mode, hands one that changed to `store`, which writes it. Refusals: 13, the walk's, the
// store's.
template <class Record, class Walk, class Store = decltype(&SavePPPConf)>
Saved save_record(Record& record, int mode, Message& message, Walk walk,
                  Store store = SavePPPConf) {
    const int unreadable = read_record(&record, message);
    if (unreadable) return {unreadable, false};
    const int refused = walk();
    if (refused || mode == kCheck || !record.Changed) return {refused, false};
    const int unstored = store(record, message);
    return {unstored, unstored == 0};
}
