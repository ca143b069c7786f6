// One-time GMime set-up for the importer.
#include "gmime_runtime.h"

namespace orvella::host::mail {

GMimeParserOptions* ImportParserOptions() {
    static GMimeParserOptions* options = [] {
        g_mime_init();
        GMimeParserOptions* made = g_mime_parser_options_new();
        g_mime_parser_options_set_address_compliance_mode(made, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_parameter_compliance_mode(made, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_rfc2047_compliance_mode(made, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_allow_addresses_without_domain(made, TRUE);
        const char* fallback[] = {"UTF-8", "WINDOWS-1252", nullptr};
        g_mime_parser_options_set_fallback_charsets(made, fallback);
        return made;
    }();
    return options;
}

}  // namespace orvella::host::mail
