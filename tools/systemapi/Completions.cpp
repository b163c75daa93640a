// SPDX-License-Identifier: MIT
#include "Commands.h"

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{
/// What may follow a command: words, and for each the help.
struct CHOICE
{
    std::string Word;
    std::string Help;
};

struct OPTION
{
    std::vector<std::string> Names;   ///< "--unit", "-u"; none for a positional
    std::vector<std::string> Choices; ///< where the values are known
    std::string Help;
    bool bValue;
};

struct COMMAND
{
    std::string Path; ///< "system memory"; empty for the tool itself
    std::vector<CHOICE> Subcommands;
    std::vector<OPTION> Options;
};

/// The values in "TEXT:{a,b,c}".
std::vector<std::string> ChoicesOf(const CLI::Option* pOption)
{
    const std::string Type = pOption->get_type_name();
    const std::size_t nBegin = Type.find('{');
    const std::size_t nEnd = Type.find('}', nBegin);
    std::vector<std::string> Choices;
    if (nBegin == std::string::npos || nEnd == std::string::npos)
        return Choices;
    std::istringstream List(Type.substr(nBegin + 1, nEnd - nBegin - 1));
    for (std::string Choice; std::getline(List, Choice, ',');)
        Choices.push_back(Choice);
    return Choices;
}

void Collect(std::vector<COMMAND>& Commands, const CLI::App& App, const std::string& Path)
{
    COMMAND st_Command;
    st_Command.Path = Path;
    for (const CLI::Option* pOption : App.get_options())
    {
        OPTION st_Option = {
            {}, ChoicesOf(pOption), pOption->get_description(), pOption->get_items_expected_max() > 0};
        for (const std::string& Name : pOption->get_lnames())
            st_Option.Names.push_back("--" + Name);
        for (const std::string& Name : pOption->get_snames())
            st_Option.Names.push_back("-" + Name);
        st_Command.Options.push_back(std::move(st_Option));
    }
    const auto Children = App.get_subcommands(std::function<bool(const CLI::App*)>());
    for (const CLI::App* pChild : Children)
        st_Command.Subcommands.push_back({pChild->get_name(), pChild->get_description()});
    Commands.push_back(std::move(st_Command));
    for (const CLI::App* pChild : Children)
        Collect(Commands, *pChild, Path.empty() ? pChild->get_name() : Path + " " + pChild->get_name());
}

std::string Joined(const std::vector<std::string>& Words, const char* lpszBetween)
{
    std::string Text;
    for (const std::string& Word : Words)
        Text += (Text.empty() ? "" : lpszBetween) + Word;
    return Text;
}

/// In single quotes, for a shell.
std::string Quoted(const std::string& Text, const char* lpszQuote = "'\\''")
{
    std::string Safe = "'";
    for (const char ch : Text)
        Safe += ch == '\'' ? std::string(lpszQuote) : std::string(1, ch);
    return Safe + "'";
}

/// A shell function body that looks at the words before the cursor: which command it is, and what was the last word.
void WriteBash(std::ostream& Output, const std::vector<COMMAND>& Commands)
{
    Output << "# bash completion for systemapi\n"
              "_systemapi()\n{\n"
              "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} path= words= word\n"
              "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
              "        case \"${path:+$path }$word\" in\n";
    for (const COMMAND& st_Command : Commands)
        if (!st_Command.Path.empty())
            Output << "        " << Quoted(st_Command.Path) << ") path=" << Quoted(st_Command.Path) << " ;;\n";
    Output << "        esac\n    done\n    case \"$path|$before\" in\n";
    for (const COMMAND& st_Command : Commands)
        for (const OPTION& st_Option : st_Command.Options)
            for (const std::string& Name : st_Option.Names)
                if (st_Option.bValue)
                    Output << "    " << Quoted(st_Command.Path + "|" + Name)
                           << ") words=" << Quoted(Joined(st_Option.Choices, " ")) << " ;;\n";
    Output << "    *)\n        case $path in\n";
    for (const COMMAND& st_Command : Commands)
    {
        std::string Words;
        for (const CHOICE& st_Choice : st_Command.Subcommands)
            Words += st_Choice.Word + " ";
        for (const OPTION& st_Option : st_Command.Options)
            Words += Joined(st_Option.Names.empty() ? st_Option.Choices : st_Option.Names, " ") + " ";
        Output << "        " << Quoted(st_Command.Path) << ") words=" << Quoted(Words) << " ;;\n";
    }
    Output << "        esac ;;\n    esac\n"
              "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
              "}\n"
              "complete -o default -F _systemapi systemapi\n";
}

void WriteZsh(std::ostream& Output, const std::vector<COMMAND>& Commands)
{
    const auto Described = [](const std::string& Word, const std::string& Help) {
        std::string Safe;
        for (const char ch : Word)
            Safe += ch == ':' ? std::string("\\:") : std::string(1, ch);
        return Quoted(Safe + ":" + Help);
    };
    Output << "#compdef systemapi\n# zsh completion for systemapi\n"
              "_systemapi() {\n"
              "    local place= word\n    local -a choices values\n"
              "    for word in \"${(@)words[2,CURRENT-1]}\"; do\n"
              "        case \"${place:+$place }$word\" in\n";
    for (const COMMAND& st_Command : Commands)
        if (!st_Command.Path.empty())
            Output << "        " << Quoted(st_Command.Path) << ") place=" << Quoted(st_Command.Path) << " ;;\n";
    Output << "        esac\n    done\n    case \"$place|${words[CURRENT-1]}\" in\n";
    for (const COMMAND& st_Command : Commands)
        for (const OPTION& st_Option : st_Command.Options)
            for (const std::string& Name : st_Option.Names)
                if (st_Option.bValue && !st_Option.Choices.empty())
                    Output << "    " << Quoted(st_Command.Path + "|" + Name) << ") compadd -- "
                           << Joined(st_Option.Choices, " ") << "; return ;;\n";
                else if (st_Option.bValue)
                    Output << "    " << Quoted(st_Command.Path + "|" + Name) << ") _files; return ;;\n";
    Output << "    esac\n    case $place in\n";
    for (const COMMAND& st_Command : Commands)
    {
        Output << "    " << Quoted(st_Command.Path) << ")\n        choices=(";
        for (const CHOICE& st_Choice : st_Command.Subcommands)
            Output << "\n            " << Described(st_Choice.Word, st_Choice.Help);
        for (const OPTION& st_Option : st_Command.Options)
        {
            for (const std::string& Name : st_Option.Names)
                Output << "\n            " << Described(Name, st_Option.Help);
            for (const std::string& Choice : st_Option.Choices)
                if (st_Option.Names.empty())
                    Output << "\n            " << Described(Choice, st_Option.Help);
        }
        Output << ")\n        ;;\n";
    }
    Output
        << "    esac\n"
           "    _describe systemapi choices\n"
           "    [[ $PREFIX = -* ]] || _files\n"
           "}\n"
           "# As one of zsh's own completions the file is the body of the function; otherwise it is sourced.\n"
           "if [[ $funcstack[1] = _systemapi ]]; then\n    _systemapi\nelse\n    compdef _systemapi systemapi\nfi\n";
}

void WriteFish(std::ostream& Output, const std::vector<COMMAND>& Commands)
{
    const auto Text = [](const std::string& Help) {
        return Quoted(Help, "\\'");
    };
    Output << "# fish completion for systemapi\n"
              "function __systemapi_at --description 'Whether the words so far name this command'\n"
              "    set -l place ''\n"
              "    set -l words (commandline -opc)\n"
              "    for word in $words[2..]\n"
              "        set -l next (string trim -- \"$place $word\")\n"
              "        contains -- $next $__systemapi_places; and set place $next\n"
              "    end\n"
              "    test \"$place\" = \"$argv[1]\"\n"
              "end\n"
              "set -g __systemapi_places";
    for (const COMMAND& st_Command : Commands)
        if (!st_Command.Path.empty())
            Output << ' ' << Quoted(st_Command.Path);
    Output << '\n';
    for (const COMMAND& st_Command : Commands)
    {
        const std::string Line = "complete -c systemapi -n \"__systemapi_at '" + st_Command.Path + "'\"";
        if (!st_Command.Subcommands.empty())
            Output << Line << " -f\n";
        for (const CHOICE& st_Choice : st_Command.Subcommands)
            Output << Line << " -a " << st_Choice.Word << " -d " << Text(st_Choice.Help) << '\n';
        for (const OPTION& st_Option : st_Command.Options)
        {
            std::string Names;
            for (const std::string& Name : st_Option.Names)
                Names += Name[1] == '-' ? " -l " + Name.substr(2) : " -s " + Name.substr(1);
            const std::string Values = " -a " + Text(Joined(st_Option.Choices, " "));
            if (!Names.empty() || !st_Option.Choices.empty())
                Output << Line << Names << (st_Option.bValue && !Names.empty() ? " -r" : "")
                       << (st_Option.Choices.empty() ? "" : " -f" + Values) << " -d " << Text(st_Option.Help) << '\n';
        }
    }
}

void WriteCompletions(std::ostream& Output, const std::string& Shell, const CLI::App& App)
{
    std::vector<COMMAND> Commands;
    Collect(Commands, App, "");
    if (Shell == "bash")
        WriteBash(Output, Commands);
    else if (Shell == "zsh")
        WriteZsh(Output, Commands);
    else
        WriteFish(Output, Commands);
}
} // namespace

void AddCompletions(CLI::App& App)
{
    const auto Shell = std::make_shared<std::string>();
    CLI::App* const pCompletions = AddCommand(
        App, "completions", "Print what a shell needs to complete the tool's words", [Shell, &App](CFacts& Facts) {
            std::ostringstream Script;
            WriteCompletions(Script, *Shell, App);
            Facts.AddBytes("script", Script.str());
        });
    pCompletions->add_option("SHELL", *Shell, "The shell")->required()->check(CLI::IsMember({"bash", "zsh", "fish"}));
}
