// A VFS over the system's default one that writes the frames a transaction appends to its WAL
// in one system call instead of two per page.
//
// SQLite writes each WAL frame as its 24-byte header and then its page, at consecutive offsets.
// This layer gathers consecutive writes to a WAL file in memory and writes them out together:
// when the commit frame's page arrives (a frame header names the database size only on the last
// frame of a transaction), and before anything else touches the file (a read, a sync, a
// truncation, its size, a file control, closing). Nobody can miss a gathered frame: readers
// find frames through the WAL index, which SQLite updates only after the commit frame, and the
// writer's own reads write the gathered frames first. A crash before the write loses only an
// uncommitted transaction, as it would have anyway. Every other file passes straight through.
#pragma once

namespace orvella::platform::mapi::store {

// The VFS's name for sqlite3_open_v2, registered on first use.
const char* WalBatchingVfs();

}  // namespace orvella::platform::mapi::store
