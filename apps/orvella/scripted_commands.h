// Commands run from within orvella, as a person would type them: the demo shows and runs them,
// the benchmark suite runs them quietly to set up its homes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "mailbox_generator.h"

namespace orvella::cli {

// A fresh home: `asked`, which must be new or empty, or else a new directory named after
// `prefix` under $TMPDIR (or /tmp). Throws CommandError when it cannot be made.
std::filesystem::path FreshHome(const std::string& asked, const std::string& prefix);

// Makes `home` the home of this process (and of the commands it starts).
void UseHome(const std::filesystem::path& home);

// A command as the words a person types after "orvella", each one whole: run from here, no
// word is ever split or unquoted again.
using CommandWords = std::vector<std::string>;

// The words as a person would type them into a shell: plain words as they are, any other in
// single quotes, so that the shown line can be pasted and does the same.
std::string ShellLine(const CommandWords& words);

// Runs a command here, as orvella would.
void Execute(const CommandWords& words);

// Shows a command as a person would type it, then runs it.
void Run(const CommandWords& words);

// Runs a command without its output (the caller says what it did instead).
void RunQuietly(const CommandWords& words);

// The commands that install a generated mailbox's owner and add one of its contacts.
CommandWords InitCommand(const host::generator::GeneratedMailbox& mailbox);
CommandWords ContactCommand(const host::generator::GeneratedContact& contact);

}  // namespace orvella::cli
