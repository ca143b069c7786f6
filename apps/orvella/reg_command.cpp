// orvella reg: the registry from the command line.
#include "commands.h"

namespace orvella::cli {

void AddRegCommands(CLI::App& app) {
    app.add_subcommand("reg", "Read and change the registry");
}

}  // namespace orvella::cli
