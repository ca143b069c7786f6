// The WAL-batching VFS: a WAL file's consecutive writes gathered and written together.
#include "wal_batching_vfs.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace orvella::platform::mapi::store {
namespace {

constexpr int kFrameHeaderSize = 24;
// A transaction larger than this (a bulk import) writes as it goes.
constexpr std::size_t kMaxGathered = 1 << 20;
// The default VFS writes at most 128 KB less one byte per call.
constexpr std::size_t kMaxWrite = 1 << 16;

sqlite3_vfs* Base(sqlite3_vfs* vfs) {
    return static_cast<sqlite3_vfs*>(vfs->pAppData);
}

constexpr int RoundUp8(std::size_t size) {
    return static_cast<int>((size + 7) & ~std::size_t{7});
}

// A WAL file as this layer opens it; the default VFS's file follows at kWalFileOffset. Any
// other file is the default VFS's own file, at the start, with its own methods.
struct WalFile {
    sqlite3_file base;
    std::vector<unsigned char>* gathered;  // consecutive writes not yet written
    sqlite3_int64 gathered_at;             // the file offset of the first of them
    bool commit_page_next;                 // the last header written was a commit frame's
};
constexpr int kWalFileOffset = RoundUp8(sizeof(WalFile));

WalFile* Wal(sqlite3_file* file) {
    return reinterpret_cast<WalFile*>(file);
}
sqlite3_file* Real(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + kWalFileOffset);
}

int Flush(sqlite3_file* file) {
    WalFile* wal = Wal(file);
    if (wal->gathered->empty()) return SQLITE_OK;
    sqlite3_file* real = Real(file);
    int rc = SQLITE_OK;
    for (std::size_t at = 0; at < wal->gathered->size() && rc == SQLITE_OK; at += kMaxWrite) {
        const std::size_t size = std::min(kMaxWrite, wal->gathered->size() - at);
        rc = real->pMethods->xWrite(real, wal->gathered->data() + at, static_cast<int>(size),
                                    wal->gathered_at + static_cast<sqlite3_int64>(at));
    }
    wal->gathered->clear();
    return rc;
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
    WalFile* wal = Wal(file);
    std::vector<unsigned char>& gathered = *wal->gathered;
    if (!gathered.empty() &&
        offset != wal->gathered_at + static_cast<sqlite3_int64>(gathered.size())) {
        if (int rc = Flush(file); rc != SQLITE_OK) return rc;
    }
    if (gathered.empty()) wal->gathered_at = offset;
    const auto* bytes = static_cast<const unsigned char*>(data);
    gathered.insert(gathered.end(), bytes, bytes + amount);
    bool write_now = gathered.size() >= kMaxGathered;
    if (amount == kFrameHeaderSize) {
        // Bytes 4 to 7: the database's size in pages after a commit, zero on any other frame.
        wal->commit_page_next = (bytes[4] | bytes[5] | bytes[6] | bytes[7]) != 0;
    } else {
        write_now = write_now || wal->commit_page_next;
        wal->commit_page_next = false;
    }
    return write_now ? Flush(file) : SQLITE_OK;
}

// Methods that must see the file as written: gathered writes go out first.
template <auto Method, class... Args>
int FlushedThen(sqlite3_file* file, Args... args) {
    if (int rc = Flush(file); rc != SQLITE_OK) return rc;
    sqlite3_file* real = Real(file);
    return (real->pMethods->*Method)(real, args...);
}

template <auto Method, class... Args>
auto Forward(sqlite3_file* file, Args... args) {
    sqlite3_file* real = Real(file);
    return (real->pMethods->*Method)(real, args...);
}

int Close(sqlite3_file* file) {
    WalFile* wal = Wal(file);
    const int flushed = Flush(file);
    sqlite3_file* real = Real(file);
    const int closed = real->pMethods->xClose(real);
    delete wal->gathered;
    wal->gathered = nullptr;
    return flushed != SQLITE_OK ? flushed : closed;
}

int ShmMap(sqlite3_file* file, int region, int size, int extend, void volatile** out) {
    return Forward<&sqlite3_io_methods::xShmMap>(file, region, size, extend, out);
}

const sqlite3_io_methods kWalMethods = {
    3,
    Close,
    FlushedThen<&sqlite3_io_methods::xRead, void*, int, sqlite3_int64>,
    Write,
    FlushedThen<&sqlite3_io_methods::xTruncate, sqlite3_int64>,
    FlushedThen<&sqlite3_io_methods::xSync, int>,
    FlushedThen<&sqlite3_io_methods::xFileSize, sqlite3_int64*>,
    Forward<&sqlite3_io_methods::xLock, int>,
    Forward<&sqlite3_io_methods::xUnlock, int>,
    Forward<&sqlite3_io_methods::xCheckReservedLock, int*>,
    FlushedThen<&sqlite3_io_methods::xFileControl, int, void*>,
    Forward<&sqlite3_io_methods::xSectorSize>,
    Forward<&sqlite3_io_methods::xDeviceCharacteristics>,
    ShmMap,
    Forward<&sqlite3_io_methods::xShmLock, int, int, int>,
    [](sqlite3_file* file) { Real(file)->pMethods->xShmBarrier(Real(file)); },
    Forward<&sqlite3_io_methods::xShmUnmap, int>,
    FlushedThen<&sqlite3_io_methods::xFetch, sqlite3_int64, int, void**>,
    Forward<&sqlite3_io_methods::xUnfetch, sqlite3_int64, void*>,
};

int Open(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* file, int flags, int* out_flags) {
    sqlite3_vfs* base = Base(vfs);
    if (!(flags & SQLITE_OPEN_WAL)) return base->xOpen(base, name, file, flags, out_flags);
    WalFile* wal = Wal(file);
    wal->base.pMethods = nullptr;
    const int rc = base->xOpen(base, name, Real(file), flags, out_flags);
    if (rc != SQLITE_OK) return rc;
    wal->gathered = new std::vector<unsigned char>();
    wal->gathered_at = 0;
    wal->commit_page_next = false;
    wal->base.pMethods = &kWalMethods;
    return SQLITE_OK;
}

sqlite3_vfs MakeVfs(sqlite3_vfs* base) {
    sqlite3_vfs vfs = *base;
    vfs.iVersion = 3;
    vfs.szOsFile = kWalFileOffset + base->szOsFile;
    vfs.pNext = nullptr;
    vfs.zName = "orvella-wal-batching";
    vfs.pAppData = base;
    vfs.xOpen = Open;
    vfs.xDelete = [](sqlite3_vfs* v, const char* name, int sync) {
        return Base(v)->xDelete(Base(v), name, sync);
    };
    vfs.xAccess = [](sqlite3_vfs* v, const char* name, int flags, int* result) {
        return Base(v)->xAccess(Base(v), name, flags, result);
    };
    vfs.xFullPathname = [](sqlite3_vfs* v, const char* name, int size, char* out) {
        return Base(v)->xFullPathname(Base(v), name, size, out);
    };
    vfs.xDlOpen = [](sqlite3_vfs* v, const char* name) { return Base(v)->xDlOpen(Base(v), name); };
    vfs.xDlError = [](sqlite3_vfs* v, int size, char* out) {
        Base(v)->xDlError(Base(v), size, out);
    };
    vfs.xDlSym = [](sqlite3_vfs* v, void* handle, const char* symbol) {
        return Base(v)->xDlSym(Base(v), handle, symbol);
    };
    vfs.xDlClose = [](sqlite3_vfs* v, void* handle) { Base(v)->xDlClose(Base(v), handle); };
    vfs.xRandomness = [](sqlite3_vfs* v, int size, char* out) {
        return Base(v)->xRandomness(Base(v), size, out);
    };
    vfs.xSleep = [](sqlite3_vfs* v, int micros) { return Base(v)->xSleep(Base(v), micros); };
    vfs.xCurrentTime = [](sqlite3_vfs* v, double* now) {
        return Base(v)->xCurrentTime(Base(v), now);
    };
    vfs.xGetLastError = [](sqlite3_vfs* v, int size, char* out) {
        return Base(v)->xGetLastError(Base(v), size, out);
    };
    vfs.xCurrentTimeInt64 = [](sqlite3_vfs* v, sqlite3_int64* now) {
        return Base(v)->xCurrentTimeInt64(Base(v), now);
    };
    vfs.xSetSystemCall = [](sqlite3_vfs* v, const char* name, sqlite3_syscall_ptr call) {
        return Base(v)->xSetSystemCall(Base(v), name, call);
    };
    vfs.xGetSystemCall = [](sqlite3_vfs* v, const char* name) {
        return Base(v)->xGetSystemCall(Base(v), name);
    };
    vfs.xNextSystemCall = [](sqlite3_vfs* v, const char* name) {
        return Base(v)->xNextSystemCall(Base(v), name);
    };
    return vfs;
}

}  // namespace

const char* WalBatchingVfs() {
    static sqlite3_vfs vfs = MakeVfs(sqlite3_vfs_find(nullptr));
    // Unregistered (out of memory): the default VFS, unbatched.
    static const bool registered = sqlite3_vfs_register(&vfs, 0) == SQLITE_OK;
    return registered ? vfs.zName : nullptr;
}

}  // namespace orvella::platform::mapi::store
