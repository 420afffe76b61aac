// pages - help, man pages and completions of the shells, made from the description of the commands

#ifndef TESKA_TOOL_PAGES_H
#define TESKA_TOOL_PAGES_H

#include "frame/command.h"
#include "frame/options.h"

#include <string>

namespace tool
{

// What --help prints.
std::string help_page(const command &shown, const options &take);
std::string help_page();

// The source of a man page, of one command or of the program.
std::string man_page(const command &shown, const options &take);
std::string man_page();

// A completion script for "bash", "zsh" or "fish".
std::string completion(const std::string &shell);

// The options of a command with the common ones, described as for a run.
options described(const command &shown);

}  // namespace tool

#endif
