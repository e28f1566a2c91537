// `vrex completion bash`: a completion script for bash, generated from the
// commands and options vrex has and the types of its catalog.
#include <google/protobuf/descriptor.h>

#include <memory>
#include <set>
#include <vector>

#include "Commands.h"
#include "LogLevel.pb.h"
#include "vrex/ContractTypes.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

struct CompletionArguments {
  std::string shell;
  const CLI::App* root = nullptr;
};

std::string Join(const std::set<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// Each contract type a request or its answer uses, at any depth.
void CollectTypes(const Descriptor* message, std::set<std::string>& messages,
                  std::set<std::string>& enumerations) {
  if (message == nullptr || !messages.insert(ContractShortName(message->full_name())).second) {
    return;
  }
  for (int i = 0; i < message->field_count(); ++i) {
    const FieldDescriptor& field = *message->field(i);
    if (field.enum_type() != nullptr) {
      enumerations.insert(ContractShortName(field.enum_type()->full_name()));
    }
    if (field.is_map()) {
      CollectTypes(field.message_type()->map_value()->message_type(), messages, enumerations);
    } else {
      CollectTypes(field.message_type(), messages, enumerations);
    }
  }
}

struct CatalogWords {
  std::set<std::string> requests;
  std::set<std::string> files;
  std::set<std::string> messages;
  std::set<std::string> types;  ///< messages and enumerations
  std::set<std::string> areas;
};

CatalogWords ReadCatalog() {
  CatalogWords words;
  std::set<std::string> enumerations;
  for (const RequestInfo& request : Requests()) {
    words.requests.emplace(request.name);
    words.areas.emplace(request.area);
    if (request.kind == RequestKind::File) words.files.emplace(request.name);
    CollectTypes(FindContractMessage(request.name), words.messages, enumerations);
    if (!request.answerType.empty()) {
      CollectTypes(FindContractMessage(request.answerType), words.messages, enumerations);
    }
  }
  words.types = words.messages;
  words.types.insert(enumerations.begin(), enumerations.end());
  return words;
}

std::set<std::string> LogLevels() {
  namespace en = ::Korvan::KQ::DataContracts::Enumerator;
  std::set<std::string> levels;
  for (int level = en::LogLevel_MIN; level <= en::LogLevel_MAX; ++level) {
    if (en::LogLevel_IsValid(level))
      levels.insert(en::LogLevel_Name(static_cast<en::LogLevel>(level)));
  }
  return levels;
}

// What compgen offers after an option of `command` that takes a value:
// words, files, a file after "@" (`-d @query.json`), or "" for nothing.
std::string ValueCompletion(const std::string& command, const std::string& option,
                            const CatalogWords& catalog) {
  const auto words = [](const std::set<std::string>& offered) {
    return "-W \"" + Join(offered) + "\" -- \"$current\"";
  };
  if (option == "--family" || option == "--area") return words(catalog.areas);
  if (option == "--level") return words(LogLevels());
  if (option == "--answer-type") return words(catalog.messages);
  if (option == "--output" && command == "call") return words({"binary", "json", "text"});
  if (option == "-d" || option == "--data") return "-f -P @ -- \"${current#@}\"";
  if (option == "-o" || option == "--output" || option == "--cacert" || option == "--cert" ||
      option == "--key") {
    return "-f -- \"$current\"";
  }
  return "";
}

// The words offered where no option value is expected: the command's options
// and what its positional TYPE takes.
std::string CommandWords(const CLI::App& command, const CatalogWords& catalog) {
  std::set<std::string> words;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words.insert("--" + name);
    for (const std::string& name : option->get_snames()) words.insert("-" + name);
  }
  const std::string& name = command.get_name();
  const std::set<std::string> none;
  const std::set<std::string>& types = name == "call"         ? catalog.requests
                                       : name == "download"   ? catalog.files
                                       : name == "describe"   ? catalog.types
                                       : name == "template"   ? catalog.messages
                                       : name == "completion" ? std::set<std::string>{"bash"}
                                                              : none;
  words.insert(types.begin(), types.end());
  return Join(words);
}

std::string CommandCase(const CLI::App& command, const CatalogWords& catalog) {
  std::string text = "    " + command.get_name() + ")\n      case \"$previous\" in\n";
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_expected_max() == 0 || option->get_positional()) continue;
    std::vector<std::string> names;
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    std::string pattern;
    std::string completion;
    for (const std::string& name : names) {
      pattern += (pattern.empty() ? "" : "|") + name;
      if (completion.empty()) completion = ValueCompletion(command.get_name(), name, catalog);
    }
    text += "        " + pattern + ") " +
            (completion.empty() ? "" : "COMPREPLY=($(compgen " + completion + ")); ") +
            "return ;;\n";
  }
  return text + "      esac\n      words=\"" + CommandWords(command, catalog) + "\" ;;\n";
}

std::string BashScript(const CLI::App& root) {
  const CatalogWords catalog = ReadCatalog();
  std::set<std::string> commands = {"--help", "--version"};
  std::string cases;
  for (const CLI::App* command : root.get_subcommands({})) {
    commands.insert(command->get_name());
    cases += CommandCase(*command, catalog);
  }
  return "# bash completion for vrex, written by `vrex completion bash`.\n"
         "# Install: vrex completion bash > ~/.local/share/bash-completion/completions/vrex\n"
         "_vrex() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} words\n"
         "  if ((COMP_CWORD == 1)); then\n"
         "    COMPREPLY=($(compgen -W \"" +
         Join(commands) +
         "\" -- \"$current\"))\n"
         "    return\n"
         "  fi\n"
         "  case \"${COMP_WORDS[1]}\" in\n" +
         cases +
         "    *) return ;;\n"
         "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
         "}\n"
         "complete -F _vrex vrex\n";
}

ExitCode Run(const CompletionArguments& arguments, Console& console) {
  console.out << BashScript(*arguments.root);
  return ExitCode::Ok;
}

}  // namespace

void AddCompletionCommand(const CommandSetup& setup) {
  auto arguments = std::make_shared<CompletionArguments>();
  arguments->root = &setup.app;
  AddCommand(setup,
             {"completion", "Print a shell completion script",
              "Prints a script that completes commands, options, request and message types, "
              "areas and log levels as you type. Only bash is supported.",
              "  vrex completion bash > ~/.local/share/bash-completion/completions/vrex\n"
              "  source <(vrex completion bash)\n"},
             arguments, &Run)
      .add_option("SHELL", arguments->shell, "The shell: bash")
      ->required()
      ->check(CLI::IsMember({"bash"}));
}

}  // namespace vrex::cli
