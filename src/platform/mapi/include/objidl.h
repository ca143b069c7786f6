// OLE streams: ISequentialStream and IStream, with STATSTG and the seek, commit and lock flags.
// MAPI hands out large property values (bodies, binary blobs) as streams.
#pragma once

#include "guiddef.h"
#include "unknwn.h"
#include "wtypes.h"

DEFINE_OLEGUID(IID_IStream, 0x0000000C, 0, 0);
DEFINE_OLEGUID(IID_IStorage, 0x0000000B, 0, 0);
DEFINE_GUID(IID_ISequentialStream, 0x0C733A30, 0x2A1C, 0x11CE, 0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44,
            0x77, 0x3D);

// Storage-family failures a stream reports.
#define STG_E_INVALIDFUNCTION ((HRESULT)0x80030001L)
#define STG_E_FILENOTFOUND ((HRESULT)0x80030002L)
#define STG_E_ACCESSDENIED ((HRESULT)0x80030005L)
#define STG_E_INSUFFICIENTMEMORY ((HRESULT)0x80030008L)
#define STG_E_INVALIDPOINTER ((HRESULT)0x80030009L)
#define STG_E_WRITEFAULT ((HRESULT)0x8003001DL)
#define STG_E_READFAULT ((HRESULT)0x8003001EL)
#define STG_E_INVALIDPARAMETER ((HRESULT)0x80030057L)
#define STG_E_MEDIUMFULL ((HRESULT)0x80030070L)
#define STG_E_REVERTED ((HRESULT)0x80030102L)
#define STG_E_CANTSAVE ((HRESULT)0x80030103L)

// STATSTG.type
#define STGTY_STORAGE 1
#define STGTY_STREAM 2
#define STGTY_LOCKBYTES 3
#define STGTY_PROPERTY 4

// IStream::Seek origins
#define STREAM_SEEK_SET 0
#define STREAM_SEEK_CUR 1
#define STREAM_SEEK_END 2

// IStream::Stat flags
#define STATFLAG_DEFAULT 0
#define STATFLAG_NONAME 1
#define STATFLAG_NOOPEN 2

// IStream::Commit flags
#define STGC_DEFAULT 0
#define STGC_OVERWRITE 1
#define STGC_ONLYIFCURRENT 2
#define STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE 4
#define STGC_CONSOLIDATE 8

// IStream::LockRegion types, an enumeration as on Windows. The C library's <fcntl.h> defines
// a flock() LOCK_WRITE macro of its own; this one takes its place where both are seen.
#undef LOCK_WRITE
typedef enum tagLOCKTYPE { LOCK_WRITE = 1, LOCK_EXCLUSIVE = 2, LOCK_ONLYONCE = 4 } LOCKTYPE;

// What IStream::Stat reports. pwcsName is allocated by the stream unless STATFLAG_NONAME.
typedef struct tagSTATSTG {
    LPOLESTR pwcsName;
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
} STATSTG;

// Read and Write report the bytes moved through the optional count pointers; a short read at
// the end is S_OK (or S_FALSE), not a failure.
class ISequentialStream : public IUnknown {
public:
    virtual HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
    virtual HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

class IStream : public ISequentialStream {
public:
    virtual HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                         ULARGE_INTEGER* plibNewPosition) = 0;
    virtual HRESULT SetSize(ULARGE_INTEGER libNewSize) = 0;
    virtual HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                           ULARGE_INTEGER* pcbWritten) = 0;
    virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
    virtual HRESULT Clone(IStream** ppstm) = 0;
};

typedef ISequentialStream* LPSEQUENTIALSTREAM;
typedef IStream* LPSTREAM;
