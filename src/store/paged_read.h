// The store layer's paged table read: 50 rows at a time from the last position, so that a
// table changing underneath is read without holding it.
#pragma once

#include <functional>
#include <string>

#include "mapidefs.h"

// Reads table (its columns already set) page by page until a page comes back empty or the
// table reports MAPI_E_NOT_FOUND, handing each page to onPage; onPage returns false to stop.
// A failing seek raises MAPIException with seekFailure, a failing query with queryFailure.
void ReadTablePaged(IMAPITable* table, const std::string& seekFailure,
                    const std::string& queryFailure,
                    const std::function<bool(const SRowSet& page)>& onPage);
