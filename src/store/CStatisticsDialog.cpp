// The statistics dialog's template and behaviour.
#include "CStatisticsDialog.h"

#include "resource.h"
#include "winuser.h"

using orvella::platform::gui::ControlKind;
using orvella::platform::gui::DialogControl;
using orvella::platform::gui::DialogTemplate;
using orvella::res::LoadResString;

const std::array<StatisticsLine, 9> kStatisticsLines = {{
    {STAT_MESSAGES_ANALYZED, IDC_STAT_ANALYZED, IDS_STATISTICS_ANALYZED, 0},
    {STAT_BAND_HIGH, IDC_STAT_HIGH, IDS_STATISTICS_BAND_FIRST + 0, IDS_STATISTICS_IMPORTANCE},
    {STAT_BAND_MEDIUM, IDC_STAT_MEDIUM, IDS_STATISTICS_BAND_FIRST + 1, IDS_STATISTICS_IMPORTANCE},
    {STAT_BAND_NORMAL, IDC_STAT_NORMAL, IDS_STATISTICS_BAND_FIRST + 2, IDS_STATISTICS_IMPORTANCE},
    {STAT_BAND_DEFAULT, IDC_STAT_DEFAULT, IDS_STATISTICS_BAND_FIRST + 3, IDS_STATISTICS_IMPORTANCE},
    {STAT_BAND_LOW, IDC_STAT_LOW, IDS_STATISTICS_BAND_FIRST + 4, IDS_STATISTICS_IMPORTANCE},
    {STAT_TOPICS_ASSIGNED, IDC_STAT_TOPICS, IDS_STATISTICS_TOPICS, IDS_STATISTICS_AUTOASSIGN},
    {STAT_MESSAGES_FILED, IDC_STAT_FILED, IDS_STATISTICS_FILED, IDS_STATISTICS_AUTOASSIGN},
    {STAT_PRIORITIES_ASSIGNED, IDC_STAT_PRIORITIES, IDS_STATISTICS_PRIORITIES,
     IDS_STATISTICS_AUTOASSIGN},
}};

std::string FormatStatisticsCount(ULONG value) {
    const std::string digits = std::to_string(value);
    std::string text;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}

namespace {

// Label and count of one line, the count right-aligned in its own column.
void AddLine(DialogTemplate& dialog, const StatisticsLine& line, short indent, short y) {
    dialog.controls.push_back({IDC_STATIC, ControlKind::Static, LoadResString(line.labelId), indent,
                               y, static_cast<short>(120 - indent), 10});
    dialog.controls.push_back({line.control, ControlKind::Static, "0", 130, y, 60, 10, SS_RIGHT});
}

DialogTemplate StatisticsDialogTemplate() {
    DialogTemplate dialog;
    dialog.caption = LoadResString(IDS_STATISTICS_CAPTION);
    dialog.cx = 200;
    dialog.cy = 180;
    short y = 10;
    UINT heading = 0;
    for (const StatisticsLine& line : kStatisticsLines) {
        if (line.headingId != heading) {
            heading = line.headingId;
            y += 6;
            dialog.controls.push_back(
                {IDC_STATIC, ControlKind::Static, LoadResString(heading), 10, y, 110, 10});
            y += 12;
        }
        AddLine(dialog, line, heading ? 22 : 10, y);
        y += 12;
    }
    dialog.controls.push_back({IDOK, ControlKind::Button, "OK", 75, 159, 50, 14, BS_DEFPUSHBUTTON});
    return dialog;
}

}  // namespace

CStatisticsDialog::CStatisticsDialog() : CDialog(StatisticsDialogTemplate()) {}

BOOL CStatisticsDialog::OnInitDialog() {
    const CStatistics& statistics = CStatistics::Instance();
    for (const StatisticsLine& line : kStatisticsLines)
        SetDlgItemTextA(m_hWnd, line.control,
                        FormatStatisticsCount(statistics.Get(line.counter)).c_str());
    return TRUE;
}
