#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

#include "Arguments.h"

namespace BX::arguments {

namespace {

constexpr std::size_t lineWidth = 80;

struct Row {
  std::string name, text;
};

struct Section {
  std::string title;
  std::vector<Row> rows;
};

// `text` in lines within the width, each behind `column` blanks but the first, which stands at `column` already.
std::string wrapped(const std::string& text, std::size_t column) {
  std::string lines;
  std::size_t width = column;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool begins = width == column;
    if (!begins && width + 1 + word.size() > lineWidth) {
      lines += '\n' + std::string(column, ' ');
      width = column;
    } else if (!begins) {
      lines += ' ';
      ++width;
    }
    lines += word;
    width += word.size();
  }
  return lines + '\n';
}

// "-q, --quiet" and "--shots N".
std::string nameOf(const CLI::Option& option) {
  if (option.get_positional()) return option.get_name(true);
  std::string names = CLI::detail::find_and_replace(option.get_name(false, true), ",", ", ");
  return option.get_option_text().empty() ? names : names + ' ' + option.get_option_text();
}

Section optionsOf(const CLI::App& app, bool arePositional, const std::string& title) {
  Section section{title, {}};
  for (const auto* option : app.get_options()) {
    if (option->get_positional() == arePositional) section.rows.push_back({nameOf(*option), option->get_description()});
  }
  return section;
}

class Layout : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode) const override {
    std::vector<Section> sections = {optionsOf(*app, true, "Arguments"), {"Commands", {}}};
    for (const auto* command : app->get_subcommands({})) {
      sections[1].rows.push_back({command->get_name(), command->get_description()});
    }
    const bool hasCommands = !sections[1].rows.empty();
    sections.push_back(optionsOf(*app, false, hasCommands ? "Global options" : "Options"));
    if (app->get_parent() != nullptr) sections.push_back(optionsOf(*app->get_parent(), false, "Global options"));

    std::string help = "Usage: " + name + (hasCommands ? " COMMAND" : "");
    for (const auto* option : app->get_options()) {
      if (option->get_positional()) help += ' ' + make_option_usage(option);
    }
    help += " [OPTION]...\n\n" + wrapped(app->get_description() + '.', 0);
    std::size_t column = 0;
    for (const auto& section : sections) {
      for (const auto& row : section.rows) column = std::max(column, row.name.size() + 4);
    }
    for (const auto& section : sections) help += textOf(section, column);
    return help + (app->get_footer().empty() ? "" : '\n' + make_footer(app));
  }

 private:
  static std::string textOf(const Section& section, std::size_t column) {
    if (section.rows.empty()) return {};
    std::string text = '\n' + section.title + ":\n";
    for (const auto& row : section.rows) {
      text += "  " + row.name + std::string(column - 2 - row.name.size(), ' ') + wrapped(row.text, column);
    }
    return text;
  }
};

}  // namespace

void prepare(CLI::App& app) {
  app.formatter(std::make_shared<Layout>());
  app.set_help_flag();
  app.allow_windows_style_options(false);  // on no system: a path may begin with a /
  app.option_defaults()->take_last();  // parse() refuses what is given twice, and says so
}

void addHelpFlag(CLI::App& app, const std::string& version) {
  app.set_help_flag("-h,--help", "Show this help and exit");
  app.set_version_flag("--version", app.get_name() + ' ' + version, "Show the version and exit");
}

std::string helpOf(const CLI::App& app) {
  std::string help = app.get_formatter()->make_help(&app, fullName(app), CLI::AppFormatMode::Normal);
  while (help.ends_with('\n')) help.pop_back();
  return help;
}

}  // namespace BX::arguments
