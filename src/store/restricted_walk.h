// The store layer's restricted walk: from the table's beginning, FindRow the next row matching a
// restriction and read it (and the rows after it) with QueryRows, which moves past them.
#pragma once

#include <functional>
#include <string>

#include "mapidefs.h"

// The failure messages of one walk's table calls.
struct WalkFailures {
    std::string seek;
    std::string find;
    std::string query;
};

// "<operation>: SeekRow failed", "... FindRow failed", "... QueryRows failed".
WalkFailures WalkFailuresOf(const std::string& operation);

// Logs a ProgramException (level 2, this module, line) for a row the table could not fill, and
// answers false, so that the walk ends with what it found so far.
bool ReportShortRow(const std::string& message, int line);

// Walks table (its columns already set): after each match, QueryRows(rowsPerMatch) reads the
// matching row and up to rowsPerMatch - 1 rows after it, which need not match, and hands them to
// onRows; onRows returns false to stop. The walk ends when SeekRow or FindRow report
// MAPI_E_NOT_FOUND or a read comes back empty; any other failure raises MAPIException with the
// call's message.
void WalkRestricted(IMAPITable* table, SRestriction* restriction, LONG rowsPerMatch,
                    const WalkFailures& failures,
                    const std::function<bool(const SRowSet& rows)>& onRows);
