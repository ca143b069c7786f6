// The base of the add-in's exception family: holds every field a failure carries. Exceptions
// are thrown by value and caught by reference to BaseException.
#pragma once

#include <string>

#include "IException.h"

namespace orvella::diag {

// Abstract: only its derived classes are thrown, each naming its type. Copying copies every
// field.
class BaseException : public IException {
public:
    int GetLevel() const override { return level_; }
    int GetLine() const override { return line_; }
    const char* GetFile() const override { return OrNull(file_); }
    const char* GetMessage() const override { return OrNull(message_); }
    const char* GetDetails() const override { return OrNull(details_); }
    HRESULT GetCode() const override { return code_; }

protected:
    BaseException(HRESULT code, std::string message, std::string details, int level,
                  std::string file, int line);

private:
    static const char* OrNull(const std::string& text) {
        return text.empty() ? nullptr : text.c_str();
    }

    HRESULT code_;
    std::string message_;
    std::string details_;
    int level_;
    std::string file_;
    int line_;
};

}  // namespace orvella::diag
