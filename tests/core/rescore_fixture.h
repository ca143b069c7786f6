// The rescoring run's world: the processor's fixture with numbered mail, score markers and the
// run's dialog as the headless driver saw it close.
#pragma once

#include <future>
#include <string>
#include <vector>

#include "CMsgRescoreDialog.h"
#include "headless_driver.h"
#include "processor_fixture.h"
#include "winbase.h"

namespace orvella::testing {

class RescoreTest : public ProcessorTest {
protected:
    // Mail from nobody the user knows, to the user alone.
    static TestMail Mail(const std::string& sender, const std::string& subject);
    // Delivers mail with the subjects "<prefix> 1" ... "<prefix> count"; their entry ids.
    std::vector<::EntryId> DeliverNumbered(const std::string& sender, const std::string& prefix,
                                           int count);
    // Whether the message carries the score marker "OV-MsgScore".
    bool Scored(const ::EntryId& message) { return LongOf(message, IP_MSG_SCORE).has_value(); }
    std::vector<bool> ScoredEach(const std::vector<::EntryId>& messages);
    // The progress text of the run's dialog as it closed, and its result.
    std::string ClosedText() const;
    INT_PTR ClosedResult() const;
    // Runs the dialog on a thread of its own, as Outlook's thread would, while the test acts as
    // the person at it; the future holds DoModal's result.
    static std::future<INT_PTR> RunOnUiThread(CMsgRescoreDialog& dialog);
    // Starts the run so and waits until its progress text reads `text`; the open dialog.
    platform::gui::LiveDialog StartRunUntil(CMsgRescoreDialog& run, std::future<INT_PTR>& result,
                                            const std::string& text);
};

// The processor's lock held, as by another processing in the logon session, until Release.
class ProcessorLock {
public:
    ProcessorLock();
    ~ProcessorLock();
    void Release();

private:
    HANDLE mutex_;
    bool held_ = false;
};

}  // namespace orvella::testing
