// The per-profile online state of the simulated Outlook: its file, its defaults, and the names
// of the Exchange connection modes.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <system_error>

#include "outlook_application.h"
#include "profile.h"

namespace orvella::host::outlook {
namespace {

namespace store = platform::mapi::store;
namespace fs = std::filesystem;

struct ModeName {
    Outlook::OlExchangeConnectionMode mode;
    const char* name;
};

constexpr ModeName kModeNames[] = {
    {Outlook::olNoExchange, "no-exchange"},
    {Outlook::olOffline, "offline"},
    {Outlook::olCachedOffline, "cached-offline"},
    {Outlook::olDisconnected, "disconnected"},
    {Outlook::olCachedDisconnected, "cached-disconnected"},
    {Outlook::olCachedConnectedHeaders, "cached-headers"},
    {Outlook::olCachedConnectedDrizzle, "cached-drizzle"},
    {Outlook::olCachedConnectedFull, "cached-full"},
    {Outlook::olOnline, "online"},
};

std::optional<Outlook::OlExchangeConnectionMode> KnownMode(long long number) {
    for (const ModeName& known : kModeNames)
        if (known.mode == number) return known.mode;
    return std::nullopt;
}

fs::path StateFile(const std::string& profile) {
    if (!store::ProfileExists(profile))
        throw std::runtime_error("there is no profile \"" + profile + "\"");
    return store::ProfileDirectory(profile) / "outlook-state.json";
}

OutlookState Defaults(const std::string& profile) {
    OutlookState state;
    for (const store::ProfileStore& entry : store::ProfileStores(profile)) {
        if (entry.is_default && entry.kind == store::StoreKind::Exchange)
            state.connectionMode = Outlook::olOnline;
    }
    return state;
}

OutlookState Parse(const fs::path& file, std::istream& in) {
    auto damaged = [&](const std::string& why) {
        return std::runtime_error(file.string() + " is damaged: " + why);
    };
    const nlohmann::json saved = nlohmann::json::parse(in, nullptr, false);
    if (saved.is_discarded()) throw damaged("not JSON");
    if (!saved.is_object()) throw damaged("not a JSON object");
    auto offline = saved.find("offline");
    if (offline == saved.end() || !offline->is_boolean())
        throw damaged("\"offline\" must be true or false");
    auto mode = saved.find("exchangeConnectionMode");
    if (mode == saved.end() || !mode->is_number_integer())
        throw damaged("\"exchangeConnectionMode\" must be a number");
    auto known = KnownMode(mode->get<long long>());
    if (!known) throw damaged("unknown Exchange connection mode " + mode->dump());
    return {offline->get<bool>(), *known};
}

}  // namespace

OutlookState LoadOutlookState(const std::string& profile) {
    const fs::path file = StateFile(profile);
    std::ifstream in(file);
    if (!in) {
        std::error_code error;
        if (!fs::exists(file, error) && !error) return Defaults(profile);
        throw std::runtime_error("cannot read " + file.string());
    }
    return Parse(file, in);
}

void SaveOutlookState(const std::string& profile, const OutlookState& state) {
    const fs::path file = StateFile(profile);
    const nlohmann::json saved = {
        {"offline", state.offline},
        {"exchangeConnectionMode", static_cast<int>(state.connectionMode)}};
    // Written aside and renamed over the old file, so a reader never sees half a file.
    fs::path written = file;
    written += ".new";
    {
        std::ofstream out(written, std::ios::trunc);
        out << saved.dump(2) << '\n';
        if (!out.flush()) throw std::runtime_error("cannot write " + written.string());
    }
    std::error_code error;
    fs::rename(written, file, error);
    if (error) throw std::runtime_error("cannot replace " + file.string() + ": " + error.message());
}

const char* ConnectionModeName(Outlook::OlExchangeConnectionMode mode) {
    for (const ModeName& known : kModeNames)
        if (known.mode == mode) return known.name;
    return "unknown";
}

std::optional<Outlook::OlExchangeConnectionMode> ParseConnectionMode(const std::string& text) {
    for (const ModeName& known : kModeNames)
        if (text == known.name) return known.mode;
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    if (errno != 0) return std::nullopt;
    return KnownMode(number);
}

}  // namespace orvella::host::outlook
