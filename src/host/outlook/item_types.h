// Which kind of item a folder holds, as its container class says and as Outlook names it.
#pragma once

#include <optional>
#include <string>

#include "msoutl.h"

namespace orvella::host::outlook {

// Whether a message or container class is `base` itself or one of its sub-classes: "IPM.Note"
// and "IPM.Note.Custom" are IPM.Note, "IPM.Notes" is not. Case matters, as in the store.
bool IsClassOrSubclass(const std::string& value, const std::string& base);

// The item type of a PR_CONTAINER_CLASS_A value: "IPF.Contact" and its sub-classes
// ("IPF.Contact.Custom") hold contacts and so on; an absent or unknown class holds mail.
Outlook::OlItemType ItemTypeOfContainerClass(const std::string& container_class);

// The container class of folders holding that type; nullptr for types no folder holds (posts,
// distribution lists).
const char* ContainerClassOf(Outlook::OlItemType type);

// The type of item a default folder holds (contacts for olFolderContacts, mail for the Inbox
// ...); nullopt for a value that names no default folder.
std::optional<Outlook::OlItemType> ItemTypeOfDefaultFolder(LONG folder);

}  // namespace orvella::host::outlook
