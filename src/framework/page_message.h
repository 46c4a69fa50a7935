// What a page tells.
#pragma once

#include "base/text.h"
#include "framework/msgfile.h"

// The message that a page's getter was given or, without one, the first that it finds itself.
class PageMessage {
public:
    explicit PageMessage(const char* given) : text_(given) {}
    PageMessage(const PageMessage&) = delete;
    PageMessage& operator=(const PageMessage&) = delete;

    // Takes message `number` unless there is one already.
    void tell(int number, const FormatArg& argument = {}) {
        if (text_) return;
        GetErrMsgByIndex(number, own_, argument);
        text_ = own_.c_str();
    }

    // Null while there is none.
    [[nodiscard]] const char* text() const { return text_; }

private:
    const char* text_;
    Message own_;
};
