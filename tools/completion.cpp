#include "tools/completion.h"

#include <sstream>

namespace orva_accelerator::tools {
namespace {

using Words = std::vector<std::string>;
using WordsByPath = std::map<std::string, Words>;

void addOptions(const CLI::App& command, Words& words) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group().empty()) continue;
    for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
  }
}

// The parser names the words that an argument allows in its type: "TEXT:{running,ended}".
void addAllowedWords(const CLI::App& command, Words& words) {
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const std::string type = option->get_type_name();
    const auto open = type.find('{');
    const auto close = type.find('}');
    if (open == std::string::npos || close == std::string::npos || close < open) continue;
    std::istringstream list(type.substr(open + 1, close - open - 1));
    for (std::string word; std::getline(list, word, ',');) words.push_back(word);
  }
}

void add(const CLI::App& command, const std::string& path, const Words& global,
         WordsByPath& result) {
  Words words;
  for (const CLI::App* sub : command.get_subcommands({})) {
    words.push_back(sub->get_name());
    add(*sub, path.empty() ? sub->get_name() : path + " " + sub->get_name(), global, result);
  }
  addAllowedWords(command, words);
  addOptions(command, words);
  for (const std::string& option : global) {
    if (!path.empty() && option != "--help") words.push_back(option);
  }
  result[path] = std::move(words);
}

std::string joined(const Words& words, const char* before, const char* between) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : between) + (before + word) + before;
  }
  return text;
}

}  // namespace

WordsByPath completionWords(const CLI::App& app) {
  Words global;
  addOptions(app, global);
  WordsByPath result;
  add(app, "", global, result);
  return result;
}

std::string bashCompletion(const CLI::App& app) {
  std::string cases;
  std::string paths;
  for (const auto& [path, words] : completionWords(app)) {
    cases += "    '" + path + "') words='" + joined(words, "", " ") + "' ;;\n";
    if (!path.empty()) paths += (paths.empty() ? "'" : "|'") + path + "'";
  }
  const std::string& program = app.get_name();
  return "# Completes " + program + " in bash: source <(" + program + " completion bash)\n_" +
         program + R"(() {
  local current=${COMP_WORDS[COMP_CWORD]} path= next words i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    next="${path:+$path }${COMP_WORDS[i]}"
    case $next in
      )" +
         paths + R"() path=$next ;;
    esac
  done
  case $path in
)" + cases +
         R"(  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _)" +
         program + " " + program + " " + program + ".exe\n";
}

std::string powerShellCompletion(const CLI::App& app) {
  std::string entries;
  for (const auto& [path, words] : completionWords(app)) {
    entries += "    '" + path + "' = @(" + joined(words, "'", ", ") + ")\n";
  }
  const std::string& program = app.get_name();
  return "# Completes " + program + " in PowerShell: " + program +
         " completion powershell | Out-String | Invoke-Expression\n"
         "Register-ArgumentCompleter -Native -CommandName " +
         program + ", " + program + R"(.exe -ScriptBlock {
  param($wordToComplete, $commandAst, $cursorPosition)
  $words = @{
)" + entries +
         R"(  }
  $path = ''
  foreach ($element in ($commandAst.CommandElements | Select-Object -Skip 1)) {
    if ($element.Extent.EndOffset -ge $cursorPosition) { break }
    $next = ("$path " + $element.ToString()).Trim()
    if ($words.ContainsKey($next)) { $path = $next }
  }
  $words[$path] | Where-Object { $_ -like "$wordToComplete*" } | ForEach-Object {
    [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
  }
}
)";
}

}  // namespace orva_accelerator::tools
