// The command groups of orvella, for the program and for the demo, which runs them itself.
#include "commands.h"

namespace orvella::cli {

void AddAllCommands(CLI::App& app) {
    AddRegCommands(app);
    AddProfileCommands(app);
    AddMailboxCommands(app);
    AddMsgCommands(app);
    AddImportCommands(app);
    AddDirectoryCommands(app);
    AddOutlookCommands(app);
    AddSessionCommands(app);
    AddIdentityCommands(app);
    AddLogCommands(app);
    AddContactCommands(app);
    AddThreadCommands(app);
    AddInboxCommands(app);
    AddExplainCommands(app);
    AddProcessCommands(app);
}

}  // namespace orvella::cli
