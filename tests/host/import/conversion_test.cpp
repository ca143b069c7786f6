// One message file in, the properties the add-in reads out: every converted value, on small
// literal messages, well-formed and not.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <string>
#include <utility>
#include <vector>

#include "import_fixture.h"
#include "store_writer.h"

namespace {

using orvella::testing::PropText;
using orvella::testing::RecipientTexts;
namespace mail = orvella::host::mail;

struct Expected {
    ULONG tag;
    std::string text;
};

struct ConversionCase {
    const char* name;
    std::string message;
    std::vector<Expected> values;
    std::vector<std::string> recipients;
};

const std::vector<ConversionCase>& Cases() {
    static const std::vector<ConversionCase> cases = {
        {"plain",
         "Message-ID: <m1@example.org>\r\n"
         "Date: Fri, 7 Dec 2001 10:06:42 -0800 (PST)\r\n"
         "From: Ann Lee <Ann.Lee@Example.org>\r\n"
         "To: Bob Ray <bob@example.org>, carol@example.org\r\n"
         "Cc: \"Dunn, Dan\" <dan@example.org>\r\n"
         "Bcc: eve@example.org\r\n"
         "Subject: West Position\r\n"
         "Delivered-To: bob@example.org\r\n"
         "Importance: High\r\n"
         "\r\n"
         "Please send the curve.\r\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Note"},
          {PR_SUBJECT_A, "West Position"},
          {PR_SENDER_NAME_A, "Ann Lee"},
          {PR_SENDER_EMAIL_ADDRESS_A, "Ann.Lee@Example.org"},
          {PR_SENDER_ADDRTYPE_A, "SMTP"},
          {PR_SENT_REPRESENTING_NAME_A, "Ann Lee"},
          {PR_SENT_REPRESENTING_EMAIL_ADDRESS_A, "Ann.Lee@Example.org"},
          {PR_SENT_REPRESENTING_ADDRTYPE_A, "SMTP"},
          {PR_DISPLAY_TO_A, "Bob Ray; carol@example.org"},
          {PR_DISPLAY_CC_A, "Dunn, Dan"},
          {PR_CLIENT_SUBMIT_TIME, "2001-12-07T18:06:42Z"},
          {PR_MESSAGE_DELIVERY_TIME, "2001-12-07T18:06:42Z"},
          {PR_CREATION_TIME, "2001-12-07T18:06:42Z"},
          {PR_RECEIVED_BY_EMAIL_ADDRESS_A, "bob@example.org"},
          {PR_IMPORTANCE, "2"},
          {PR_BODY_A, "Please send the curve.\r\n"},
          {PR_INTERNET_MESSAGE_ID_A, "<m1@example.org>"},
          {PR_TRANSPORT_MESSAGE_HEADERS_A,
           "Message-ID: <m1@example.org>\r\n"
           "Date: Fri, 7 Dec 2001 10:06:42 -0800 (PST)\r\n"
           "From: Ann Lee <Ann.Lee@Example.org>\r\n"
           "To: Bob Ray <bob@example.org>, carol@example.org\r\n"
           "Cc: \"Dunn, Dan\" <dan@example.org>\r\n"
           "Bcc: eve@example.org\r\n"
           "Subject: West Position\r\n"
           "Delivered-To: bob@example.org\r\n"
           "Importance: High\r\n"},
          {PR_MESSAGE_FLAGS, "0"}},
         {"TO|Bob Ray|bob@example.org|SMTP|bob@example.org",
          "TO|carol@example.org|carol@example.org|SMTP|carol@example.org",
          "CC|Dunn, Dan|dan@example.org|SMTP|dan@example.org",
          "BCC|eve@example.org|eve@example.org|SMTP|eve@example.org"}},
        {"encoded words and quoted-printable Latin-1",
         "From: =?ISO-8859-1?Q?Ren=E9_Dupr=E9?= <rene@example.fr>\n"
         "To: =?UTF-8?B?SsO8cmdlbg==?= <jurgen@example.de>\n"
         "Subject: =?UTF-8?Q?Caf=C3=A9_au_lait?=\n"
         "Date: Mon, 4 Jan 2010 09:00:00 +0100\n"
         "MIME-Version: 1.0\n"
         "Content-Type: text/plain; charset=ISO-8859-1\n"
         "Content-Transfer-Encoding: quoted-printable\n"
         "\n"
         "Voil=E0 le r=E9sum=E9.\n",
         {{PR_SUBJECT_A, "Caf\xC3\xA9 au lait"},
          {PR_SENDER_NAME_A, "Ren\xC3\xA9 Dupr\xC3\xA9"},
          {PR_DISPLAY_TO_A, "J\xC3\xBCrgen"},
          {PR_CLIENT_SUBMIT_TIME, "2010-01-04T08:00:00Z"},
          {PR_BODY_A, "Voil\xC3\xA0 le r\xC3\xA9sum\xC3\xA9.\n"},
          {PR_INTERNET_MESSAGE_ID_A, "(none)"}},
         {"TO|J\xC3\xBCrgen|jurgen@example.de|SMTP|jurgen@example.de"}},
        {"alternative parts take the plain text",
         "From: a@example.org\nTo: b@example.org\nSubject: alt\n"
         "Date: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: multipart/alternative; boundary=XX\n\n"
         "--XX\nContent-Type: text/html; charset=utf-8\n\n<p>html <b>version</b></p>\n"
         "--XX\nContent-Type: text/plain; charset=utf-8\n\nplain version\n--XX--\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Note"}, {PR_BODY_A, "plain version"}},
         {"TO|b@example.org|b@example.org|SMTP|b@example.org"}},
        {"html only becomes text",
         "From: a@example.org\nSubject: html\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: text/html; charset=utf-8\n\n"
         "<html><head><style>p {color: red}</style></head><body><p>Fish &amp; chips</p>"
         "<p>at&nbsp;noon<br>&#8364;5 &lt;cash&gt;</p><script>x()</script></body></html>\n",
         {{PR_BODY_A,
           "Fish & chips\r\n\r\nat noon\r\n\xE2\x82\xAC"
           "5 <cash>"}},
         {}},
        {"signed mail is SMIME",
         "From: a@example.org\nSubject: signed\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: multipart/signed; "
         "protocol=\"application/pkcs7-signature\"; micalg=sha-256; boundary=S\n\n"
         "--S\nContent-Type: text/plain\n\nsigned text\n"
         "--S\nContent-Type: application/pkcs7-signature; name=smime.p7s\n"
         "Content-Transfer-Encoding: base64\n\nAAAA\n--S--\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Note.SMIME"}, {PR_BODY_A, "signed text"}},
         {}},
        {"opaque SMIME",
         "From: a@example.org\nSubject: enveloped\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: application/pkcs7-mime; smime-type=enveloped-data\n"
         "Content-Transfer-Encoding: base64\n\nAAAA\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Note.SMIME"}, {PR_BODY_A, ""}},
         {}},
        {"meeting request",
         "From: a@example.org\nSubject: Invitation\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=M\n\n"
         "--M\nContent-Type: text/plain\n\nJoin us\n"
         "--M\nContent-Type: text/calendar; charset=utf-8\n\n"
         "BEGIN:VCALENDAR\r\nMETHOD:REQUEST\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"
         "--M--\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Schedule.Meeting.Request"}, {PR_BODY_A, "Join us"}},
         {}},
        {"a published calendar is an ordinary note",
         "From: a@example.org\nSubject: Calendar\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "MIME-Version: 1.0\nContent-Type: text/calendar; method=PUBLISH\n\n"
         "BEGIN:VCALENDAR\r\nMETHOD:PUBLISH\r\nEND:VCALENDAR\r\n",
         {{PR_MESSAGE_CLASS_A, "IPM.Note"}},
         {}},
        {"X-Priority 5 is low",
         "From: a@example.org\nSubject: p\nX-Priority: 5 (Lowest)\n\nx\n",
         {{PR_IMPORTANCE, "0"}},
         {}},
        {"X-Priority 2 is high",
         "From: a@example.org\nSubject: p\nX-Priority: 2\n\nx\n",
         {{PR_IMPORTANCE, "2"}},
         {}},
        {"Priority urgent is high",
         "From: a@example.org\nSubject: p\nPriority: urgent\n\nx\n",
         {{PR_IMPORTANCE, "2"}},
         {}},
        {"Priority non-urgent is low",
         "From: a@example.org\nSubject: p\nPriority: non-urgent\n\nx\n",
         {{PR_IMPORTANCE, "0"}},
         {}},
        {"no priority is normal",
         "From: a@example.org\nSubject: p\n\nx\n",
         {{PR_IMPORTANCE, "1"}},
         {}},
        {"the newest Received header is the delivery time",
         "Received: from b by c; Tue, 5 Jan 2010 10:02:00 +0000\n"
         "Received: from x by y; Tue, 5 Jan 2010 12:30:00 +0200\n"
         "Received: garbage without a date\n"
         "From: a@example.org\nSubject: r\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n"
         "X-Original-To: list@example.org\n\nx\n",
         {{PR_CLIENT_SUBMIT_TIME, "2010-01-05T10:00:00Z"},
          {PR_MESSAGE_DELIVERY_TIME, "2010-01-05T10:30:00Z"},
          {PR_RECEIVED_BY_EMAIL_ADDRESS_A, "list@example.org"}},
         {}},
        {"no date falls back to the file time",
         "From: a@example.org\nTo: me@example.org\nSubject: undated\n\nx\n",
         {{PR_CLIENT_SUBMIT_TIME, "(none)"},
          {PR_MESSAGE_DELIVERY_TIME, "2009-02-13T23:31:30Z"},
          {PR_RECEIVED_BY_EMAIL_ADDRESS_A, "owner@example.com"}},
         {"TO|me@example.org|me@example.org|SMTP|me@example.org"}},
        {"broken addresses and raw 8-bit headers",
         "From: .williams@enron.com\r\n"
         "To: Allen, Phillip K. </O=ENRON/OU=NA/CN=RECIPIENTS/CN=Pallen>, k..allen@enron.com\r\n"
         "Subject: Caf\xE9 menu\r\n"
         "Date: not a date at all\r\n"
         "\r\n"
         "x",
         {{PR_SUBJECT_A, "Caf\xC3\xA9 menu"},
          {PR_SENDER_EMAIL_ADDRESS_A, ".williams@enron.com"},
          {PR_CLIENT_SUBMIT_TIME, "(none)"},
          {PR_MESSAGE_DELIVERY_TIME, "2009-02-13T23:31:30Z"},
          {PR_BODY_A, "x"}},
         {"TO|Allen|Allen|SMTP|Allen",
          "TO|Phillip K.|/O=ENRON/OU=NA/CN=RECIPIENTS/CN=Pallen|SMTP|"
          "/O=ENRON/OU=NA/CN=RECIPIENTS/CN=Pallen",
          "TO|k..allen@enron.com|k..allen@enron.com|SMTP|k..allen@enron.com"}},
        {"an unknown charset and broken base64 still give text",
         "From: a@example.org\nSubject: bad\nMIME-Version: 1.0\n"
         "Content-Type: text/plain; charset=x-no-such-charset\n\nna\xEFve\n",
         {{PR_BODY_A, "na\xC3\xAFve\n"}},
         {}},
        {"undisclosed recipients give no rows",
         "From: a@example.org\nTo: undisclosed-recipients:;\nSubject: u\n\nx\n",
         {{PR_DISPLAY_TO_A, ""}},
         {}},
    };
    return cases;
}

class Conversion : public orvella::testing::ImportTest {};

TEST_F(Conversion, EveryHeaderBecomesItsProperty) {
    for (const ConversionCase& test : Cases()) {
        SCOPED_TRACE(test.name);
        const auto file = WriteFile(std::string(test.name) + ".eml", test.message);
        // 2009-02-13 23:31:30 UTC, the time undated mail falls back to.
        const timeval times[2] = {{1234567890, 0}, {1234567890, 0}};
        ASSERT_EQ(utimes(file.c_str(), times), 0);
        mail::ImportOptions options;
        options.folder = {test.name};
        options.own_address = "owner@example.com";
        const mail::ImportReport report = Import({file}, options);
        ASSERT_TRUE(report.skipped.empty()) << report.skipped[0].reason;
        auto messages = Messages(test.name);
        ASSERT_EQ(messages.size(), 1u);
        for (const Expected& expected : test.values) {
            EXPECT_EQ(PropText(messages[0].Get(), expected.tag), expected.text)
                << "tag " << std::hex << expected.tag;
        }
        EXPECT_EQ(RecipientTexts(messages[0].Get()), test.recipients);
    }
}

}  // namespace
