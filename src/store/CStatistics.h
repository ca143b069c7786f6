// The process-wide statistics table: counters of what the add-in did for the user (messages
// scored, per score band, topics and priorities assigned, messages filed), with the text form
// in which the statistics record and the registry keep them.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "mapidefs.h"

enum StatisticsCounter : ULONG {
    STAT_MESSAGES_ANALYZED = 100,
    STAT_BAND_HIGH = 101,
    STAT_BAND_MEDIUM = 102,
    STAT_BAND_NORMAL = 103,
    STAT_BAND_DEFAULT = 104,
    STAT_BAND_LOW = 105,
    STAT_TOPICS_ASSIGNED = 201,
    STAT_MESSAGES_FILED = 202,
    STAT_PRIORITIES_ASSIGNED = 203,
};

// The band counter a message score counts under, its bands tested in this order: 125 and up,
// above 60, 17 to 58, below -17, and the rest (-17 to 16, and 59 and 60).
ULONG BandOfScore(LONG score);

// Every member may be called from any thread; each takes the table's own lock.
class CStatistics {
public:
    // The one table of the process.
    static CStatistics& Instance();

    // Creates the counter at 1 when it is not in the table.
    void Increment(ULONG id);
    // 0 for a counter not in the table.
    ULONG Get(ULONG id) const;
    // "%x=%x" per entry in id order, joined by ","; "" for an empty table.
    std::string ToText() const;
    // Sets each id the text names to its value (later pieces win); pieces that do not parse as
    // "%x=%x", and id 0, are ignored. Counters the text does not name keep their value.
    void ReadText(const std::string& text);
    // Empties the table (a new session, or a test).
    void Clear();

    // The table a text reads into, without touching the process's table.
    static std::map<ULONG, ULONG> Parse(const std::string& text);

private:
    mutable std::mutex lock_;
    std::map<ULONG, ULONG> counters_;
};
