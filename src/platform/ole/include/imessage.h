// Messages on structured storage: a MAPI message kept in an IStorage in the .msg layout, opened
// with OpenIMsgOnIStg inside a message session.
#pragma once

#include <cstddef>

#include "mapidefs.h"
#include "ole_storage.h"

DEFINE_OLEGUID(IID_IMalloc, 0x00000002, 0, 0);

// The OLE task allocator, as MAPIGetDefaultMalloc hands it out.
class IMalloc : public IUnknown {
public:
    virtual void* Alloc(std::size_t cb) = 0;
    virtual void* Realloc(void* pv, std::size_t cb) = 0;
    virtual void Free(void* pv) = 0;
    virtual std::size_t GetSize(void* pv) = 0;
    virtual int DidAlloc(void* pv) = 0;
    virtual void HeapMinimize() = 0;
};
typedef IMalloc* LPMALLOC;

// The process's allocator; the caller does not release it.
LPMALLOC MAPIGetDefaultMalloc();

// A message session: the messages opened in it are closed together by CloseIMsgSession.
typedef struct _MSGSESS* LPMSGSESS;

// Called with ulCallerData when the last reference to a message on storage is released.
typedef void MSGCALLRELEASE(ULONG ulCallerData, LPMESSAGE lpMessage);

// OpenIMsgOnIStg: SaveChanges does not commit the storage (the caller commits it).
#define IMSG_NO_ISTG_COMMIT ((ULONG)0x00000001)

// The CLSID of a storage holding a top-level message.
DEFINE_OLEGUID(CLSID_MailMessage, 0x00020D0B, 0, 0);

// Opens a session (*lppMsgSess) for OpenIMsgOnIStg. lpMalloc may be null.
SCODE OpenIMsgSession(LPMALLOC lpMalloc, ULONG ulFlags, LPMSGSESS* lppMsgSess);

// Closes a session: every message opened in it gives MAPI_E_INVALID_OBJECT from then on and
// lets go of its storage. Null is ignored.
void CloseIMsgSession(LPMSGSESS lpMsgSess);

// Opens the message kept in lpStg (an empty storage gives a new, empty message) as an IMessage
// (*lppMsg, one reference). The message holds a reference to the storage.
// - The allocators must be MAPIAllocateBuffer, MAPIAllocateMore and MAPIFreeBuffer (or null for
//   those): what the message returns is freed with MAPIFreeBuffer. lpMsgSess may be null.
// - Properties, recipients and named properties (GetIDsFromNames/GetNamesFromIDs over the
//   file's own mapping) are kept; attachments and SetReadFlag are MAPI_E_NO_SUPPORT, and
//   OpenProperty gives read-only streams.
// - SaveChanges writes the message's streams into the storage and then commits the storage,
//   unless ulFlags has IMSG_NO_ISTG_COMMIT. A storage opened read-only gives a read-only
//   message (changes are MAPI_E_NO_ACCESS).
// - CopyTo and CopyProps carry named properties by name: the target's ids come from its own
//   GetIDsFromNames with MAPI_CREATE.
// - A storage whose message streams are damaged is MAPI_E_CORRUPT_DATA.
// - lpfMsgCallRelease (optional) is called with ulCallerData when the message is released.
SCODE OpenIMsgOnIStg(LPMSGSESS lpMsgSess, LPALLOCATEBUFFER lpAllocateBuffer,
                     LPALLOCATEMORE lpAllocateMore, LPFREEBUFFER lpFreeBuffer, LPMALLOC lpMalloc,
                     LPVOID lpMapiSup, LPSTORAGE lpStg, MSGCALLRELEASE* lpfMsgCallRelease,
                     ULONG ulCallerData, ULONG ulFlags, LPMESSAGE* lppMsg);
