// The container classes of folders by the items they hold, and the default folders' item types.
#include "item_types.h"

namespace orvella::host::outlook {
namespace {

struct FolderKind {
    Outlook::OlItemType type;
    const char* container_class;
};

constexpr FolderKind kFolderKinds[] = {
    {Outlook::olMailItem, "IPF.Note"},
    {Outlook::olContactItem, "IPF.Contact"},
    {Outlook::olAppointmentItem, "IPF.Appointment"},
    {Outlook::olTaskItem, "IPF.Task"},
    {Outlook::olNoteItem, "IPF.StickyNote"},
    {Outlook::olJournalItem, "IPF.Journal"},
};

struct DefaultFolderKind {
    Outlook::OlDefaultFolders folder;
    Outlook::OlItemType type;
};

constexpr DefaultFolderKind kDefaultFolderKinds[] = {
    {Outlook::olFolderDeletedItems, Outlook::olMailItem},
    {Outlook::olFolderOutbox, Outlook::olMailItem},
    {Outlook::olFolderSentMail, Outlook::olMailItem},
    {Outlook::olFolderInbox, Outlook::olMailItem},
    {Outlook::olFolderDrafts, Outlook::olMailItem},
    {Outlook::olFolderCalendar, Outlook::olAppointmentItem},
    {Outlook::olFolderContacts, Outlook::olContactItem},
    {Outlook::olFolderJournal, Outlook::olJournalItem},
    {Outlook::olFolderNotes, Outlook::olNoteItem},
    {Outlook::olFolderTasks, Outlook::olTaskItem},
};

}  // namespace

bool IsClassOrSubclass(const std::string& value, const std::string& base) {
    return value.compare(0, base.size(), base) == 0 &&
           (value.size() == base.size() || value[base.size()] == '.');
}

Outlook::OlItemType ItemTypeOfContainerClass(const std::string& container_class) {
    for (const FolderKind& kind : kFolderKinds)
        if (IsClassOrSubclass(container_class, kind.container_class)) return kind.type;
    return Outlook::olMailItem;
}

const char* ContainerClassOf(Outlook::OlItemType type) {
    for (const FolderKind& kind : kFolderKinds)
        if (kind.type == type) return kind.container_class;
    return nullptr;
}

std::optional<Outlook::OlItemType> ItemTypeOfDefaultFolder(LONG folder) {
    for (const DefaultFolderKind& kind : kDefaultFolderKinds)
        if (kind.folder == folder) return kind.type;
    return std::nullopt;
}

}  // namespace orvella::host::outlook
