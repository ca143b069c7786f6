// The pre-filled mail to support that the error dialog's "Contact Support" opens.
#pragma once

#include <string>

#include "msoutl.h"

namespace orvella::diag {

// Creates a mail item through Outlook addressed to `address`, subject "Error Report", whose
// body asks the user for the circumstances above a line of hyphens and `text`, and displays it
// for the user to complete and send. Returns S_OK, or the first failing call's HRESULT (E_POINTER
// without an application); what was created before a failure is left unsaved.
HRESULT CreateSupportMail(_Application* application, const std::string& address,
                          const std::string& text);

}  // namespace orvella::diag
