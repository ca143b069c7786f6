// Saving converted mail into store folders through MAPI, one SaveChanges per message.
#pragma once

#include <map>
#include <string>

#include "imported_mail.h"
#include "mapi_ptr.h"
#include "mapix.h"

namespace orvella::host::mail {

// The message as it arrived is kept whole in this named property of PS_PUBLIC_STRINGS, of type
// PT_BINARY, so that nothing the conversion leaves out is lost. It belongs to the host, not the
// add-in, whose data wipe leaves it alone. Values above the store's GetProps limit read back
// through OpenProperty as an IStream, byte for byte.
inline constexpr const wchar_t* kSourcePropertyName = L"OV-Source";

// The tag of the source property in the store of `object`, created when new. Throws
// ImportFailure when the store refuses.
ULONG SourcePropertyTag(IMAPIProp* object);

// Used from one thread; folders handed in stay referenced by the caller.
class StoreWriter {
public:
    explicit StoreWriter(IMsgStore* store);

    // Creates the message in `folder` with every value of `mail`, its recipients and its source,
    // and saves it once. Throws ImportFailure when the store refuses.
    void Save(IMAPIFolder* folder, const ImportedMail& mail);

    // Whether `folder` holds a message whose PR_INTERNET_MESSAGE_ID_A is `message_id`.
    bool HoldsMessageId(IMAPIFolder* folder, const std::string& message_id);

private:
    ULONG source_tag_;
    std::map<IMAPIFolder*, platform::mapi::ComPtr<IMAPITable>> contents_;
};

}  // namespace orvella::host::mail
