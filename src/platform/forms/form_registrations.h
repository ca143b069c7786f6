// Form registrations kept in a folder: one associated message per registered message class.
#pragma once

#include <string>
#include <vector>

#include "form_config.h"
#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::forms {

// The message class of a registration message. The registration is an associated
// (hidden) message of the folder whose form library it belongs to; PR_SUBJECT_A holds the
// registered form's message class and the other values are the form's own properties
// (PR_DISPLAY_NAME_A, PR_FORM_VERSION_A, PR_FORM_HIDDEN ...), under their own tags.
inline constexpr char kRegistrationClass[] = "IPM.Microsoft.FormRegistration";

// The classes a message class resolves through, nearest first: the class itself and, unless
// `exact`, each base class obtained by dropping the last dotted part ("IPM.Note.X",
// "IPM.Note", "IPM").
std::vector<std::string> ClassAndBases(const std::string& message_class, bool exact);

// The store operations on one folder's registrations. Every function returns the failure of
// the store call that failed, or S_OK; classes compare without regard to case.
class Registrations {
public:
    explicit Registrations(mapi::ComPtr<IMAPIFolder> folder) : folder_(std::move(folder)) {}

    // The entry id of the registration of `message_class`; MAPI_E_NOT_FOUND when there is none.
    HRESULT Find(const std::string& message_class, std::vector<BYTE>& entry_id) const;
    // The form's properties from the registration with this entry id, PR_SUBJECT_A given back
    // as PR_MESSAGE_CLASS_A; one MAPI buffer.
    HRESULT Read(std::vector<BYTE>& entry_id, ULONG* count, LPSPropValue* values) const;
    // Registers the form, replacing the registration of the same class in one save.
    HRESULT Write(const FormDescription& form) const;
    // Deletes the registration with this entry id.
    HRESULT Remove(std::vector<BYTE>& entry_id) const;

    IMAPIFolder* folder() const { return folder_.Get(); }

private:
    mapi::ComPtr<IMAPIFolder> folder_;
};

}  // namespace orvella::platform::forms
