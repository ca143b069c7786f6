// OLE structured storage: IStorage, the STGM access modes and StgCreateDocfile/StgOpenStorage,
// which open compound files (the container of .msg files) on disk.
#pragma once

#include "objidl.h"

// STGM access, sharing and creation modes.
#define STGM_DIRECT 0x00000000L
#define STGM_TRANSACTED 0x00010000L
#define STGM_SIMPLE 0x08000000L
#define STGM_READ 0x00000000L
#define STGM_WRITE 0x00000001L
#define STGM_READWRITE 0x00000002L
#define STGM_SHARE_DENY_NONE 0x00000040L
#define STGM_SHARE_DENY_READ 0x00000030L
#define STGM_SHARE_DENY_WRITE 0x00000020L
#define STGM_SHARE_EXCLUSIVE 0x00000010L
#define STGM_PRIORITY 0x00040000L
#define STGM_DELETEONRELEASE 0x04000000L
#define STGM_NOSCRATCH 0x00100000L
#define STGM_CREATE 0x00001000L
#define STGM_CONVERT 0x00020000L
#define STGM_FAILIFTHERE 0x00000000L
#define STGM_NOSNAPSHOT 0x00200000L
#define STGM_DIRECT_SWMR 0x00400000L

// Storage failures beyond those objidl.h gives streams.
#define STG_E_PATHNOTFOUND ((HRESULT)0x80030003L)
#define STG_E_SHAREVIOLATION ((HRESULT)0x80030020L)
#define STG_E_LOCKVIOLATION ((HRESULT)0x80030021L)
#define STG_E_FILEALREADYEXISTS ((HRESULT)0x80030050L)
#define STG_E_INVALIDHEADER ((HRESULT)0x800300FBL)
#define STG_E_INVALIDNAME ((HRESULT)0x800300FCL)
#define STG_E_UNIMPLEMENTEDFUNCTION ((HRESULT)0x800300FEL)
#define STG_E_INVALIDFLAG ((HRESULT)0x800300FFL)
#define STG_E_DOCFILECORRUPT ((HRESULT)0x80030109L)

// Names of elements to leave out of an open or a copy: a null-terminated array of strings.
typedef LPOLESTR* SNB;

class IEnumSTATSTG;

// A storage: a directory of named streams and storages inside a compound file.
//
// Contract on this platform:
// - A root storage opened or created by StgCreateDocfile/StgOpenStorage holds the whole file in
//   memory. In transacted mode (STGM_TRANSACTED) nothing reaches the disk before the root's
//   Commit, which replaces the file atomically (a crash leaves the old or the new file, never a
//   mix); releasing the root without Commit discards the changes, Revert goes back to the file.
//   In direct mode the file is written by Commit and when the last storage or stream of the
//   file is released.
// - Storages below the root always work in their root's transaction: their Commit and Revert do
//   nothing and succeed.
// - Streams and sub-storages must be opened with STGM_SHARE_EXCLUSIVE (else STG_E_INVALIDFLAG);
//   their access may not exceed their parent's (STG_E_ACCESSDENIED). Names are at most 31
//   characters without '/', '\\', ':' or '!' (STG_E_INVALIDNAME) and compare without regard to
//   ASCII case. A missing element is STG_E_FILENOTFOUND; creating an existing one without
//   STGM_CREATE is STG_E_FILEALREADYEXISTS.
// - A read-only storage refuses every change with STG_E_ACCESSDENIED.
// - EnumElements, MoveElementTo, SetElementTimes and SetStateBits are STG_E_UNIMPLEMENTEDFUNCTION.
// - Objects of one file are used by one thread at a time.
class IStorage : public IUnknown {
public:
    virtual HRESULT CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                 DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode,
                               DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                  DWORD reserved2, IStorage** ppstg) = 0;
    virtual HRESULT OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                                SNB snbExclude, DWORD reserved, IStorage** ppstg) = 0;
    virtual HRESULT CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                           IStorage* pstgDest) = 0;
    virtual HRESULT MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest,
                                  const OLECHAR* pwcsNewName, DWORD grfFlags) = 0;
    virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                 IEnumSTATSTG** ppenum) = 0;
    virtual HRESULT DestroyElement(const OLECHAR* pwcsName) = 0;
    virtual HRESULT RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) = 0;
    virtual HRESULT SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime,
                                    const FILETIME* patime, const FILETIME* pmtime) = 0;
    virtual HRESULT SetClass(REFCLSID clsid) = 0;
    virtual HRESULT SetStateBits(DWORD grfStateBits, DWORD grfMask) = 0;
    virtual HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
};

typedef IStorage* LPSTORAGE;

// Creates a compound file at pwcsName and opens its root storage (*ppstgOpen, one reference).
// STGM_CREATE replaces an existing file; without it an existing file is STG_E_FILEALREADYEXISTS.
// The new, empty file exists on disk when the call returns. A missing directory is
// STG_E_PATHNOTFOUND, a null name STG_E_INVALIDNAME, contradicting modes STG_E_INVALIDFLAG.
HRESULT StgCreateDocfile(const WCHAR* pwcsName, DWORD grfMode, DWORD reserved,
                         IStorage** ppstgOpen);

// Opens the root storage of the compound file at pwcsName. A missing file is
// STG_E_FILENOTFOUND; a file that is not a compound file is STG_E_FILEALREADYEXISTS; a compound
// file whose structure is damaged is STG_E_DOCFILECORRUPT. The file is never changed by a
// failed open. Within this process, a file opened with STGM_SHARE_EXCLUSIVE cannot be opened
// again, and one opened with STGM_SHARE_DENY_WRITE cannot be opened for writing
// (STG_E_SHAREVIOLATION). pstgPriority and snbExclude must be null.
HRESULT StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                       DWORD reserved, IStorage** ppstgOpen);
