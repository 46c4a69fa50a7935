// Numbered messages: lines "N-text" of the files "cgi_err" and "listmsg" in the working directory,
// the text being a format (format.h) with up to three arguments.
#pragma once

#include <span>

#include "base/failures.h"
#include "base/format.h"
#include "base/text.h"

inline constexpr char MsgFile[] = "cgi_err";
inline constexpr char ListMsgFile[] = "listmsg";

// The messages by number. Each stands in "cgi_err" with the arguments that its users give.
namespace Msg {
enum : int {
    PageTooLarge = 2,
    NoModems = 4,
    CheckRefused = 5,
    NameInUse = 6,
    NoneToDelete = 7,
    NoneToUpdate = 8,
    NoMemory = 9,
    UnknownPage = 10,
    SetRefused = 11,
    ActionFailed = 12,
    CannotReadFile = 13,
    CannotOpenFile = 14,
    NoIdleTime = 15,
    NoUserName = 16,
    NoTelephone = 17,
    BadAddress = 19,
    InitNotStored = 20,
    ModemsImported = 21,
    ModemsNotImported = 22,
    AllowedNotDeleted = 27,
    BannedNotDeleted = 28,
    SiteNotAdded = 29,
    LogNotCleared = 31,
    BadServerHost = 32,
    AllowedUnreadable = 33,
    BannedUnreadable = 34,
    LogUnreadable = 37,
    AddressFromDhcp = 39,
    SitesImported = 40,
    NoFilterSettings = 41,
    NoExternalAddress = 43,
    NoDnsServer = 44,
    OtherMethodInForce = 45,
    ProxyNotSignalled = 46,
    BadDmzHost = 48,
    BadUserServerHost = 49,
    PortInUse = 50,
    ReservedApplication = 51,
    DmzBesideFilter = 52,
    OutsideLan = 53,
    ModeSaved = 54,
    FilterBesideDmz = 55,
    FtpServerBesideDmz = 56,  // with its second half
    PassiveFtpFails = 57,
    DmzBesideFtpServer = 58,  // with the two behind it
    PortsGoToDmz = 59,
    PassiveFtpMayFail = 60,
    ControlCharacter = 61,
    UnstorableCharacter = 62,
    BadHardwareAddress = 63,
    CannotWriteFile = 64,
    CannotRunCommand = 65,
    ListFull = 68,
    BadIdleTime = 69,
    CommandNotEnded = 70,
    AnotherChange = 71,  // with its second half
    AnotherChangeRuns = 72,
    ChangeInProgress = 73,
    ChangeWaitsFor = 74,
    ChangeTakenBack = 75,
    ChangedMeanwhile = 76,
    NoSuchChange = 77,
    EditedByHand = 78,
    ChangeUndone = 79,
    WouldBeDone = 80,
    WouldChangeNothing = 81,
    WouldBeRefused = 82,
    WouldFail = 83,
    NothingPreviewed = 84,
    BadWait = 85,
    ChangeWaits = 86,
    NotWaiting = 87,
    NothingIsKept = 88,
    ChangeNotKept = 89,
    NoBackupChosen = 90,
    NoArchive = 91,
    DoesNotBelong = 92,
    ArchiveGone = 93,
    Restored = 94,
    BackupTooLarge = 95,
};
}  // namespace Msg

// Puts message `number` into `out`, cut to its size; the line end of the file stays at its end,
// where HTML does not mind it. "Unknown error" when the file or the line is missing.
void GetErrMsgByIndex(int number, Message& out, const FormatArg& a = {}, const FormatArg& b = {},
                      const FormatArg& c = {});

// The same for a message that the program knows by heart: `fallback` when the file or the line is
// missing.
void GetErrMsgOr(int number, std::string_view fallback, Message& out);

// Puts a message without arguments into `message` and returns its number: how a saver refuses.
int refuse(int number, Message& message);

// Puts the message that tells of a failure (failures.h) into `message`: 13, 64, 65 or 70.
void tell(const Failure& failure, Message& message);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// GetErrMsgByIndex from "listmsg", without the line end; `out` stays untouched when there is no
// such text.
void GetListMsgByIndex(int number, Message& out, const FormatArg& a = {}, const FormatArg& b = {},
                       const FormatArg& c = {});
