#include <span>
#include <vector>

#include "Arguments.h"
#include "Spelling.h"

namespace BX::arguments {

namespace {

using Names = std::vector<std::string>;

// ": did you mean NAME?" for the name that is nearest, when one is near or begins so; else empty.
std::string suggestion(const std::string& typed, const Names& names) {
  const std::string nearest = nearestOf(names, typed);
  return nearest.empty() ? "" : ": did you mean " + nearest + "?";
}

Names commandNames(const CLI::App& app) {
  Names names;
  for (const auto* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

Names optionNames(const CLI::App& app) {
  Names names;
  for (const auto* option : app.get_options()) {
    if (option->nonpositional()) names.push_back(option->get_name());
  }
  return names;
}

bool lacksCommand(const CLI::App& app) { return !app.get_subcommands({}).empty() && app.get_subcommands().empty(); }

[[noreturn]] void refuse(const CLI::App& app, const std::string& text) {
  throw WrongUsage(text + " (" + fullName(app) + " --help tells more)");
}

// `word` is the first that the program does not know.
std::string strangerText(const CLI::App& app, const std::string& word) {
  if (!word.starts_with('-')) {
    if (lacksCommand(app)) return "no command " + word + suggestion(word, commandNames(app));
    return word + ": one word too many";
  }
  const std::string typed = word.substr(0, word.find('='));
  const auto& command = chosen(app);
  Names names = optionNames(command);
  if (std::ranges::count(names, typed) != 0) return typed + " belongs behind the command";
  const Names global = optionNames(app);
  names.insert(names.end(), global.begin(), global.end());
  return (&command == &app ? "" : command.get_name() + " has ") + "no option " + typed + suggestion(typed, names);
}

std::string textOf(const CLI::App& app, const CLI::ParseError& error, const std::string& lastWord) {
  if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) return error.what();
  const auto strangers = app.remaining(true);
  if (!strangers.empty()) return strangerText(app, strangers.front());
  if (lacksCommand(app)) return "a command is missing";
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) return lastWord + ": a value is missing";
  return error.what();
}

void refuseRepetition(const CLI::App& app) {
  for (const auto* option : app.get_options()) {
    const bool takesOne = option->get_items_expected_max() == 1;
    if (takesOne && option->count() > 1) refuse(app, option->get_name() + ": given more than once");
  }
}

}  // namespace

void parse(CLI::App& app, int argc, const char* const* argv) {
  for (const std::string word : std::span(argv, static_cast<std::size_t>(argc))) {
    if (word == "--") break;
    // It would take the next word for its value.
    if (word.starts_with("--") && word.find('=') == word.size() - 1) refuse(app, word + " has no value");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success&) {
    const auto strangers = app.remaining();
    if (lacksCommand(app) && !strangers.empty()) refuse(app, strangerText(app, strangers.front()));
    throw;
  } catch (const CLI::ParseError& error) {
    refuse(chosen(app), textOf(app, error, argv[argc - 1]));
  }
  refuseRepetition(app);
  if (&chosen(app) != &app) refuseRepetition(chosen(app));
}

const CLI::App& chosen(const CLI::App& app) {
  const auto commands = app.get_subcommands();
  return commands.empty() ? app : *commands.front();
}

std::string fullName(const CLI::App& app) {
  return (app.get_parent() == nullptr ? "" : app.get_parent()->get_name() + ' ') + app.get_name();
}

const CLI::App& commandOf(const CLI::App& app, const std::string& name) {
  const auto found = app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
  if (found.empty()) refuse(app, "no command " + name + suggestion(name, commandNames(app)));
  return *found.front();
}

}  // namespace BX::arguments
