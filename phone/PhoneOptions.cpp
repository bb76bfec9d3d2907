#include "phone/PhoneOptions.hpp"

#include <array>
#include <charconv>
#include <string_view>

namespace tallyfox::phone {
namespace {

struct VerbRule {
  std::string_view name;
  PhoneVerb verb;
  std::size_t fewest;
  std::size_t most;
};

constexpr std::array<VerbRule, 8> verbs = {{
    {"help", PhoneVerb::help, 0, 0},
    {"pair", PhoneVerb::pair, 0, 1},
    {"list", PhoneVerb::list, 0, 0},
    {"watch", PhoneVerb::watch, 0, 0},
    {"answer", PhoneVerb::answer, 2, 2},
    {"suppress", PhoneVerb::suppress, 1, 1},
    {"unsuppress", PhoneVerb::unsuppress, 1, 1},
    {"unpair", PhoneVerb::unpair, 0, 0},
}};

std::optional<Seconds> parsedTimeout(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value > 0) || value > 1e9) return std::nullopt;
  return Seconds(value);
}

std::optional<std::string> applyVerb(PhoneOptions& options, std::vector<std::string> words) {
  if (words.empty()) return "A command is missing.";
  const std::string name = std::move(words.front());
  words.erase(words.begin());
  for (const VerbRule& rule : verbs) {
    if (rule.name != name) continue;
    if (words.size() < rule.fewest) return "The command " + name + " needs more arguments.";
    if (words.size() > rule.most) return "The command " + name + " takes fewer arguments.";
    options.verb = rule.verb;
    options.operands = std::move(words);
    return std::nullopt;
  }
  return "There is no command \"" + name + "\".";
}

}  // namespace

std::expected<PhoneOptions, std::string> PhoneOptions::parsed(const std::vector<std::string>& arguments) {
  PhoneOptions options;
  std::vector<std::string> words;
  bool onlyWords = false;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    const auto next = argument + 1;
    if (onlyWords || *argument == "-" || !argument->starts_with('-'))
      words.push_back(*argument);
    else if (*argument == "--")
      onlyWords = true;
    else if (*argument == "--json")
      options.json = true;
    else if (*argument == "--help" || *argument == "-h")
      return PhoneOptions{};
    else if (*argument == "--version")
      return PhoneOptions{PhoneVerb::version, {}, false, std::nullopt, std::nullopt};
    else if (*argument != "--name" && *argument != "--timeout")
      return std::unexpected("There is no option " + *argument + ".");
    else if (next == arguments.end())
      return std::unexpected("The option " + *argument + " needs a value.");
    else if (*argument == "--name")
      options.name = *++argument;
    else if (!(options.timeout = parsedTimeout(*++argument)))
      return std::unexpected("A time-out is a positive number of seconds.");
  }
  if (auto problem = applyVerb(options, std::move(words))) return std::unexpected(std::move(*problem));
  if (options.name && options.verb != PhoneVerb::pair) return std::unexpected("The option --name belongs to pair.");
  return options;
}

std::string phoneUsage() {
  return R"(Usage: tallyfox-phone [--json] [--timeout SECONDS] COMMAND

Answers a computer's approval dialogs from the command line.

  pair [FILE] [--name NAME]    pair with the pairing code in FILE (or - or nothing: standard input)
  list                         show what waits for an answer
  watch                        show it again at each change, until interrupted
  answer ID BUTTON             press a button and wait for the result
  suppress ID                  do not show this dialog again
  unsuppress SUPPRESSION-ID    show it again
  unpair                       end the pairing

  --json                       one JSON object a line
  --timeout SECONDS            how long to wait (30; watch: for ever)
  --help                       show this text
  --version                    show the version

ID is an approval's identifier or the beginning of it. Exit status: 0 done or accepted, 1 error, 2 wrong usage,
3 failed, 4 not found, 5 needs direct access to the computer, 6 the computer is offline.
)";
}

}  // namespace tallyfox::phone
