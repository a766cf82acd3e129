// What the programs' command lines have in common: how values are read, how help is laid out, and how wrong usage is
// told.
#pragma once

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>

namespace BX::arguments {

// A line for the user: what is wrong, and where more is told.
class WrongUsage : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// To be called before anything is added: help is laid out for 80 columns, and its flag is left to addHelpFlag.
void prepare(CLI::App& app);
// To be called after all else is added.
void addHelpFlag(CLI::App& app, const std::string& version);

// Adds an option as its help shows it, such as "--shots N", or a positional, such as "PORT".
template <typename Value>
CLI::Option& addOption(CLI::App& app, const std::string& usage, Value& value, const std::string& help) {
  const auto blank = usage.find(' ');
  auto& option = *app.add_option(usage.substr(0, blank), value, help);
  if (blank != std::string::npos) option.option_text(usage.substr(blank + 1));
  return option;
}

// The values that people write: decimal digits, leading zeros allowed, no sign, within the range. decimal() also takes
// a point. They go to Option::transform.
CLI::Validator wholeNumber(unsigned long long least, unsigned long long most);
CLI::Validator decimalNumber(double least, double most);
// A path or a port, and not an option that took the place of one that was left out.
CLI::Validator name();
CLI::Option& addName(CLI::App& app, const std::string& usage, std::string& value, const std::string& help);

// Throws CLI::Success when help or the version was asked for (print helpOf(chosen(app)) or what()), and WrongUsage.
void parse(CLI::App& app, int argc, const char* const* argv);
// The command that was chosen; the program when there is none.
const CLI::App& chosen(const CLI::App& app);

// The help of a command or program, without a line feed at its end.
std::string helpOf(const CLI::App& app);
// "bx" and "bx train".
std::string fullName(const CLI::App& app);
// The command of this name; throws WrongUsage.
const CLI::App& commandOf(const CLI::App& app, const std::string& name);

}  // namespace BX::arguments
