#include <charconv>
#include <sstream>
#include <system_error>

#include "Arguments.h"

namespace BX::arguments {

namespace {

template <typename Number, typename... Format>
bool isRead(const std::string& text, Number& number, Format... format) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
  return error == std::errc() && stop == end;
}

template <typename Number>
std::string refusal(const std::string& text, const char* kind, Number least, Number most) {
  std::ostringstream line;
  line.precision(10);
  line << '"' << text << "\" is no " << kind << " from " << least << " to " << most;
  return line.str();
}

}  // namespace

CLI::Validator wholeNumber(unsigned long long least, unsigned long long most) {
  return {[least, most](std::string& text) {
            unsigned long long number = 0;
            if (!isRead(text, number) || number < least || number > most) {
              return refusal(text, "whole number", least, most);
            }
            text = std::to_string(number);  // a leading zero would be read as octal further on
            return std::string();
          },
          ""};
}

CLI::Validator decimalNumber(double least, double most) {
  return {[least, most](std::string& text) {
            double number = 0;
            const bool good = isRead(text, number, std::chars_format::fixed) && number >= least && number <= most;
            return good ? std::string() : refusal(text, "number", least, most);
          },
          ""};
}

CLI::Validator name() {
  return {[](std::string& text) {
            if (text.empty()) return std::string("a name cannot be empty");
            if (text.starts_with("--")) return text + " is an option (./" + text + " would be a file)";
            return std::string();
          },
          ""};
}

CLI::Option& addName(CLI::App& app, const std::string& usage, std::string& value, const std::string& help) {
  return *addOption(app, usage, value, help).transform(name());
}

}  // namespace BX::arguments
