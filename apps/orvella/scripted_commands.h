// Commands run from within orvella, as a person would type them: the demo shows and runs them,
// the benchmark suite runs them quietly to set up its homes.
#pragma once

#include <filesystem>
#include <string>

#include "mailbox_generator.h"

namespace orvella::cli {

// A fresh home: `asked`, which must be new or empty, or else a new directory named after
// `prefix` under $TMPDIR (or /tmp). Throws CommandError when it cannot be made.
std::filesystem::path FreshHome(const std::string& asked, const std::string& prefix);

// Makes `home` the home of this process (and of the commands it starts).
void UseHome(const std::filesystem::path& home);

// One word of a command line, quoted so that a shell and Execute both read it back whole:
// 'Ann Lee', "Dan O'Brien"; a word a shell could not take quoted so is escaped for Execute.
std::string Quoted(const std::string& word);

// Runs a command line (without the program's name) here, as orvella would.
void Execute(const std::string& line);

// Shows a command as a person would type it, then runs it.
void Run(const std::string& line);

// Runs a command without its output (the caller says what it did instead).
void RunQuietly(const std::string& line);

// The command lines that set a generated mailbox's owner up: `init` with every own address,
// and a `contact add` for a contact.
std::string InitLine(const host::generator::GeneratedMailbox& mailbox);
std::string ContactLine(const host::generator::GeneratedContact& contact);

}  // namespace orvella::cli
