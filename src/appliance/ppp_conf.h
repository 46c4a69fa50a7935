// The internet-sharing configuration record: "/etc/ppp/nat_ppp.con" in memory. Every page and
// action reads the file into a record of its own and writes the whole record back; the file is the
// only thing that they share. It holds the provider's password, so it has mode 0600.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "appliance/addresses.h"
#include "base/text.h"

using SettingText = Text<80>;  // names, passwords, modem strings
using PhoneText = Text<60>;

// WAN access methods, the field Method.
enum WanMethod : int { kNoMethod = 0, kDirect = 1, kPPPoE = 2, kSerial = 3 };

// A user-defined virtual server. Name and IP lie back to back, as they always have: a name of 15
// characters has no end of its own and is read on into the address behind it.
class UserServer {
public:
    static constexpr std::size_t kNameSize = 15;
    static constexpr std::size_t kReadSize = kNameSize + 1;  // what the reader asks for

    int VS_UD = 0;  // entry enabled
    AddressText IPBuf;
    std::uint32_t Port = 0;

    [[nodiscard]] std::string_view Name() const { return bytes_.data(); }
    [[nodiscard]] std::string_view IP() const { return bytes_.data() + kNameSize; }
    // Up to kReadSize - 1 characters; the fifteenth leaves no room for the name's own end.
    void set_name(std::string_view name) { copy_text(std::span(bytes_).first(kReadSize), name); }
    void set_ip(std::string_view ip) { copy_text(std::span(bytes_).subspan(kNameSize), ip); }

private:
    std::array<char, kNameSize + AddressText::capacity + 1> bytes_{};
};

// Ways of dialling, by the field DialType, as forms post them.
inline constexpr std::array<std::string_view, 3> kDialTypes = {"tone", "pulse", "perm"};

struct PPPConf {
    static constexpr std::size_t kUserServers = 5;

    int Method = 0;             // WanMethod
    std::int32_t BaudRate = 0;  // bit/s
    SettingText Modem;          // a section name of the modem list
    SettingText InitStr;
    int DialType = 0;  // 0 tone, 1 pulse, 2 permanent connection
    SettingText User;
    SettingText Password;
    int Security = 0;   // carried, edited by no page
    int Idle = 0;       // minutes before hang-up
    int DynamicIP = 0;  // 1 address assigned by the provider, 0 fixed address in IP
    AddressText IP;
    PhoneText Phone1;
    PhoneText Phone2;
    PhoneText Phone3;
    AddressText DNS;     // from the appliance settings, written but never read here
    int Retry = 0;       // carried, edited by no page
    int NetChanged = 0;  // the WAN connection must be restarted; not stored
    int Changed = 0;     // some field changed; not stored
    AddressText IPBuf;   // working space for IP; not stored, like every ...Buf below
    int SrvWeb = 0;      // NAT services
    int SAP = 0;
    int SrvEMail = 0;
    int SrvFTP = 0;
    int SrvTelNet = 0;
    int Web = 0;  // virtual servers
    AddressText WebIP;
    AddressText WebIPBuf;
    std::uint32_t WebPort = 0;
    int Pop3 = 0;
    AddressText Pop3IP;
    AddressText Pop3IPBuf;
    std::uint32_t Pop3Port = 0;
    int Smtp = 0;
    AddressText SmtpIP;
    AddressText SmtpIPBuf;
    std::uint32_t SmtpPort = 0;
    int Ftp = 0;
    AddressText FtpIP;
    AddressText FtpIPBuf;
    std::uint32_t FtpDataPort = 0;
    std::uint32_t FtpCtlPort = 0;
    int Https = 0;
    std::array<UserServer, kUserServers> UD;
    int DMZ = 0;
    AddressText DMZ_IP;
    AddressText DMZIPBuf;
    int VSChanged = 0;  // the virtual-server script must be rebuilt; not stored
    int NatEnable = 0;  // internet sharing; "nat_enable" of the WAN settings file
};

// What the serial page's "defaults" button offers. Differs from a new file's values on purpose.
extern const PPPConf d_conf;

// Puts a file with the default lines in place.
void Init_PPPConf();

// Fills the record from the file, which is created when missing (and only then); NatEnable from the
// WAN settings file, DNS from the appliance settings file, Changed 0; the other fields that are not
// stored stay. A missing key takes its default. 0, or 1 when one of these files cannot be read or
// created (of the record nothing may be used then).
[[nodiscard]] int ReadPPPConfig(PPPConf* record);

// ReadPPPConfig for a page: on failure with message 13 in `message`.
[[nodiscard]] int read_record(PPPConf* record, Message& message);

// Stores a value in a field of the record and marks the record as changed when it differs; tells
// whether it did.
template <class Field, class Value>
bool store(Field& field, const Value& value, PPPConf& record) {
    if (field == value) return false;
    field = value;
    record.Changed = 1;
    return true;
}

// Writes the record through "/etc/ppp/nat_ppp.tmp". 0; 1 the temporary file could not be created
// (message 14) or written (no message of its own), 3 it could not be renamed (with a text).
[[nodiscard]] int store_record(const PPPConf& record, Message& message);

// store_record, then "nat_enable" of the WAN settings file; 1 also when that could not be written.
[[nodiscard]] int SavePPPConf(const PPPConf& record, Message& message);

// The two throw Unreadable (files.h) when a file of theirs is there but cannot be read.
//
// 1 when internet sharing is switched on: "nat_enable" of the WAN settings file is not "no...".
int PortEnabled();

// The WAN method in force: 0 while sharing is off or without the file, else its "Method".
int Nat_Method();
