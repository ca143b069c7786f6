// The statistics dialog: the process's counters of what the add-in did for the user, opened from
// the explorer toolbar; and the counters' display order and number format, shared with the
// command line.
#pragma once

#include <array>
#include <string>

#include "CStatistics.h"
#include "dialog.h"

// Control ids of the dialog's counter texts. OK is IDOK.
enum StatisticsDialogControl : int {
    IDC_STAT_ANALYZED = 326,
    IDC_STAT_HIGH = 327,
    IDC_STAT_MEDIUM = 328,
    IDC_STAT_NORMAL = 329,
    IDC_STAT_LOW = 330,
    IDC_STAT_TOPICS = 334,
    IDC_STAT_FILED = 335,
    IDC_STAT_PRIORITIES = 336,
    IDC_STAT_DEFAULT = 337,
};

// One counter as the dialog shows it: its control, the string resource of its label and of the
// heading it stands under (0: none).
struct StatisticsLine {
    ULONG counter;
    int control;
    UINT labelId;
    UINT headingId;
};
// The counters in the order the dialog reads them.
extern const std::array<StatisticsLine, 9> kStatisticsLines;

// "%u" with a "," before every group of three digits from the right: 1234567 -> "1,234,567".
std::string FormatStatisticsCount(ULONG value);

// Modal, OK only; DoModal returns IDOK (IDCANCEL from the close box). Shows the counters as they
// are when it opens. Runs on the calling thread.
class CStatisticsDialog : public orvella::platform::gui::CDialog {
public:
    CStatisticsDialog();

protected:
    BOOL OnInitDialog() override;
};
