// The writers of the files that the dial-up daemons read, each from the internet-sharing record as
// it is on disk when the writer runs. They are the bodies of deferred actions.
//
// Result: 0 done; 1 the record could not be read; 2 the file could not be written; 3 its temporary
// file holds the new text but could not be renamed. The file itself is then as it was.
#pragma once

#include "appliance/ppp_conf.h"
#include "base/text.h"

// "/etc/diald.conf" (diald-control). Without an old version the request ends with the fatal error
// page. (Action "SaDiald".)
int SaveDiald();

// The modem chat script "/etc/ppp/pppondialer". 2 also for an initialisation string with a single
// quote, which the script cannot hold. (Action "SaPPPOn".)
int SavePPPOn();

// The account in "/etc/ppp/pap-secrets" and "/etc/ppp/chap-secrets" (pppd(8), "AUTHENTICATION"),
// mode 0600; 2 when the first failed, 3 when the second did. (Action "SaSecret".)
int SaveSecret();

// "/etc/ppp/tel", the provider's telephone numbers, those that there are to the front. (Action
// "SaTel".)
int SaveTel();

// "/etc/ppp/options.ttyS0" (pppd(8), "OPTIONS FILES"): idle time in seconds, user name. (Action
// "SaOption".)
int SaveOptions();

// The idle time-outs of the rules in "/usr/lib/diald/standard.filter", which is made from the
// default filter when missing. (Action "SaFilter".)
int SaveFilter();

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// The record's DNS server as the first and only "nameserver" of "/etc/resolv.conf", which is
// created when missing; its other lines stay.
int SaveDNS();

// SavePPPConf, then SavePPPOn; the first result that is not 0.
[[nodiscard]] int SaveAllConf(const PPPConf& record, Message& message);
