// The process-wide statistics table and its text form.
#include "CStatistics.h"

#include <cstdio>

CStatistics& CStatistics::Instance() {
    static CStatistics table;
    return table;
}

void CStatistics::Increment(ULONG id) {
    std::lock_guard<std::mutex> hold(lock_);
    ++counters_[id];
}

ULONG CStatistics::Get(ULONG id) const {
    std::lock_guard<std::mutex> hold(lock_);
    auto found = counters_.find(id);
    return found == counters_.end() ? 0 : found->second;
}

std::string CStatistics::ToText() const {
    std::lock_guard<std::mutex> hold(lock_);
    std::string text;
    for (const auto& [id, value] : counters_) {
        char piece[24];
        std::snprintf(piece, sizeof piece, "%x=%x", static_cast<unsigned>(id),
                      static_cast<unsigned>(value));
        if (!text.empty()) text += ',';
        text += piece;
    }
    return text;
}

void CStatistics::ReadText(const std::string& text) {
    std::map<ULONG, ULONG> parsed = Parse(text);
    std::lock_guard<std::mutex> hold(lock_);
    for (const auto& [id, value] : parsed) counters_[id] = value;
}

void CStatistics::Clear() {
    std::lock_guard<std::mutex> hold(lock_);
    counters_.clear();
}

std::map<ULONG, ULONG> CStatistics::Parse(const std::string& text) {
    std::map<ULONG, ULONG> counters;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(',', start);
        if (end == std::string::npos) end = text.size();
        const std::string piece = text.substr(start, end - start);
        unsigned id = 0;
        unsigned value = 0;
        if (std::sscanf(piece.c_str(), "%x=%x", &id, &value) == 2 && id != 0) counters[id] = value;
        start = end + 1;
    }
    return counters;
}

ULONG BandOfScore(LONG score) {
    if (score >= 125) return STAT_BAND_HIGH;
    if (score > 60) return STAT_BAND_MEDIUM;
    if (score > 16 && score < 59) return STAT_BAND_NORMAL;
    if (score < -17) return STAT_BAND_DEFAULT;
    return STAT_BAND_LOW;
}
