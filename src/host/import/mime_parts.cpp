// Walks the MIME tree once for the body and the signs of S/MIME and meeting requests.
#include "mime_parts.h"

#include <strings.h>

#include <string_view>

#include "html_text.h"
#include "text_encoding.h"

namespace orvella::host::mail {
namespace {

struct Walk {
    GMimePart* plain = nullptr;
    GMimePart* html = nullptr;
    bool smime = false;
    bool meeting_request = false;
};

bool SameText(const char* a, const char* b) {
    return a && strcasecmp(a, b) == 0;
}

bool IsPkcs7(GMimeContentType* type, const char* subtype) {
    return g_mime_content_type_is_type(type, "application", subtype) ||
           g_mime_content_type_is_type(type, "application", (std::string("x-") + subtype).c_str());
}

// The part's content with its transfer encoding undone, in its own charset.
std::string DecodedBytes(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content) return {};
    GObjectRef<GMimeStream> stream(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(content, stream.get());
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

std::string TextOf(GMimePart* part) {
    GMimeContentType* type = g_mime_object_get_content_type(GMIME_OBJECT(part));
    return ToUtf8(DecodedBytes(part), g_mime_content_type_get_parameter(type, "charset"));
}

bool IsAttachment(GMimeObject* object) {
    GMimeContentDisposition* disposition = g_mime_object_get_content_disposition(object);
    return disposition && g_mime_content_disposition_is_attachment(disposition);
}

bool RequestsMeeting(GMimePart* part) {
    GMimeContentType* type = g_mime_object_get_content_type(GMIME_OBJECT(part));
    if (SameText(g_mime_content_type_get_parameter(type, "method"), "REQUEST")) return true;
    const std::string text = DecodedBytes(part);
    for (size_t at = text.find("METHOD:"); at != std::string::npos;
         at = text.find("METHOD:", at + 1)) {
        const bool line_start = at == 0 || text[at - 1] == '\n';
        if (line_start && text.compare(at + 7, 7, "REQUEST") == 0) return true;
    }
    return false;
}

void Visit(GMimeObject* object, Walk& walk) {
    GMimeContentType* type = g_mime_object_get_content_type(object);
    if (GMIME_IS_MULTIPART(object)) {
        if (g_mime_content_type_is_type(type, "multipart", "signed")) {
            const char* protocol = g_mime_content_type_get_parameter(type, "protocol");
            if (SameText(protocol, "application/pkcs7-signature") ||
                SameText(protocol, "application/x-pkcs7-signature"))
                walk.smime = true;
        }
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count; ++i) Visit(g_mime_multipart_get_part(multipart, i), walk);
        return;
    }
    if (!GMIME_IS_PART(object)) return;  // message/rfc822: a forwarded message has its own body
    GMimePart* part = GMIME_PART(object);
    if (IsPkcs7(type, "pkcs7-mime") || IsPkcs7(type, "pkcs7-signature")) {
        walk.smime = true;
    } else if (g_mime_content_type_is_type(type, "text", "calendar")) {
        walk.meeting_request = walk.meeting_request || RequestsMeeting(part);
    } else if (!IsAttachment(object)) {
        if (!walk.plain && g_mime_content_type_is_type(type, "text", "plain")) walk.plain = part;
        if (!walk.html && g_mime_content_type_is_type(type, "text", "html")) walk.html = part;
    }
}

}  // namespace

MimeContent ReadMimeContent(GMimeMessage* message) {
    MimeContent content;
    GMimeObject* top = g_mime_message_get_mime_part(message);
    Walk walk;
    if (top) Visit(top, walk);
    content.message_class = walk.smime             ? "IPM.Note.SMIME"
                            : walk.meeting_request ? "IPM.Schedule.Meeting.Request"
                                                   : "IPM.Note";
    if (walk.plain) {
        content.body = TextOf(walk.plain);
    } else if (walk.html) {
        content.body = HtmlToText(TextOf(walk.html));
    }
    return content;
}

}  // namespace orvella::host::mail
