#include "cli/command.h"

#include <getopt.h>

#include <algorithm>
#include <ostream>

#include "datasource/kinds.h"

#ifndef ROWQUILL_VERSION
#define ROWQUILL_VERSION "unknown"
#endif

namespace rq::cli {

namespace {

struct OptionInfo {
    Opt id;
    const char* name;
    char shortName;     // 0 when none
    const char* value;  // nullptr: a flag
    const char* help;
};

const OptionInfo kOptions[] = {
    {Opt::Odbc, "odbc", 0, "CONNECTION",
     "an ODBC connection string in place of SOURCE, such as \"DSN=Sales;UID=me;PWD=secret\" or "
     "\"Driver=SQLite3;Database=/data/shop.db\"; it is never prompted for what it lacks. --table "
     "NAME reads \"Select * from [NAME]\"; in --sql statements names may be written in "
     "[brackets]"},
    {Opt::Timeout, "timeout", 0, "SECONDS",
     "stop an ODBC statement that runs longer (default 60; 0 for no limit)"},
    {Opt::Kind, "kind", 0, "KIND",
     "the database kind: a plain name (see rowquill-cli --help) or a connect string such as "
     "\"Dbase IV;\"; without it the kind is recognised from the file's content and name, and a "
     "folder or - is read as delimited text"},
    {Opt::Password, "password", 0, "P",
     "the database password; without it the environment variable ROWQUILL_PASSWORD is read, and "
     "when standard input is a terminal the password is asked for there"},
    {Opt::Codepage, "codepage", 0, "N",
     "the code page of files that do not name one (Btrieve; text files without a byte-order "
     "mark or a CharacterSet in schema.ini), such as 866 or 1251; without it Btrieve is read as "
     "437 and text as UTF-8 when it is valid UTF-8, else 1252"},
    {Opt::Table, "table", 0, "NAME",
     "the table or stored query (\"orders#csv\", \"Sheet1$\"); not needed when the source holds "
     "one"},
    {Opt::Sql, "sql", 0, "STATEMENT", "read the result of a statement instead of a table"},
    {Opt::Param, "param", 0, "NAME=VALUE",
     "the value of a parameter a stored query asks for, such as \"Beginning Date=1996-07-01\" "
     "(may be repeated)"},
    {Opt::Layout, "layout", 0, "FILE", "use a layout file instead of the default layout"},
    {Opt::Split, "split", 0, "N",
     "one document per N records (N >= 1) into the folder given by -o (absent or empty)"},
    {Opt::ConvertSymbols, "convert-symbols", 0, nullptr, "write UTF-8 (the default)"},
    {Opt::Cp1252, "cp1252", 0, nullptr,
     "write code page 1252, with \"?\" for the characters it lacks"},
    {Opt::Xslt, "xslt", 0, "LOCATION", "add an XSLT stylesheet instruction"},
    {Opt::Css, "css", 0, "LOCATION", "add a CSS stylesheet instruction"},
    {Opt::Dtd, "dtd", 0, "LOCATION", "add a DOCTYPE naming the root element"},
    {Opt::Schema, "schema", 0, "NAMESPACE LOCATION",
     "add xmlns, xmlns:xsi and xsi:schemaLocation to the root element"},
    {Opt::RootAttribute, "root-attribute", 0, "NAME=VALUE",
     "add an attribute to the root element (may be repeated; these and --schema replace the "
     "root attributes of a layout file)"},
    {Opt::Rfc4180, "rfc4180", 0, nullptr,
     "write standard CSV: a field is quoted when it holds a comma, a quote or a line break, "
     "quotes are doubled, lines end with CR LF; without it the program's own form is written "
     "(every value quoted, a comma after the last one)"},
    {Opt::AllowDamaged, "allow-damaged", 0, nullptr,
     "write what could be read from a damaged source (a file shorter than it says, a missing "
     "memo file, values that cannot be read); without it such a source is reported and nothing "
     "is written"},
    {Opt::Output, "output", 'o', "PATH", "the output file, - for standard output (the default)"},
    {Opt::Help, "help", 'h', nullptr, "show this help"},
};

const OptionInfo* optionInfo(Opt id) {
    for (const auto& s : kOptions)
        if (s.id == id) return &s;
    return nullptr;
}

int parsePositive(const std::string& option, const std::string& text) {
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        usageError(option + " needs a whole number, not \"" + text + "\"");
    const int n = std::stoi(text);
    if (n < 1) usageError(option + " needs a number of at least 1");
    return n;
}

// Words wrapped to lines of at most `width` characters, each line but the
// first indented by `indent` blanks.
std::string wrap(const std::string& text, std::size_t indent, std::size_t width) {
    std::string out, line;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(' ', start);
        if (end == std::string::npos) end = text.size();
        const std::string word = text.substr(start, end - start);
        if (!line.empty() && indent + line.size() + 1 + word.size() > width) {
            out += line + "\n" + std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        start = end + 1;
    }
    return out + line;
}

std::string optionLine(const OptionInfo& s) {
    std::string left = "  ";
    left += s.shortName ? std::string("-") + s.shortName + ", " : std::string();
    left += std::string("--") + s.name;
    if (s.value) left += std::string(" ") + s.value;
    constexpr std::size_t column = 30;
    left += left.size() + 1 < column ? std::string(column - left.size(), ' ')
                                     : "\n" + std::string(column, ' ');
    return left + wrap(s.help, column, 79) + "\n";
}

void handleOption(Opt id, const std::string& flag, const char* value, Settings& s,
                  std::vector<char*>& argv, int argc) {
    const std::string v = value ? value : "";
    switch (id) {
        case Opt::Odbc:
            s.odbc = v;
            break;
        case Opt::Timeout:
            s.timeout = v == "0" ? 0 : parsePositive(flag, v);
            break;
        case Opt::Kind:
            s.kind = v;
            break;
        case Opt::Password:
            s.password = v;
            s.passwordGiven = true;
            break;
        case Opt::Codepage:
            s.codepage = parsePositive(flag, v);
            break;
        case Opt::Table:
            s.table = v;
            break;
        case Opt::Sql:
            s.sql = v;
            break;
        case Opt::Output:
            s.output = v;
            s.outputGiven = true;
            break;
        case Opt::AllowDamaged:
            s.allowDamaged = true;
            break;
        case Opt::Layout:
            s.layout = v;
            break;
        case Opt::Split:
            s.split = parsePositive(flag, v);
            break;
        case Opt::ConvertSymbols:
            s.cp1252 = false;
            break;
        case Opt::Cp1252:
            s.cp1252 = true;
            break;
        case Opt::Xslt:
            s.xslt = v;
            break;
        case Opt::Css:
            s.css = v;
            break;
        case Opt::Dtd:
            s.dtd = v;
            break;
        case Opt::Schema:
            if (optind >= argc) usageError("--schema needs NAMESPACE and LOCATION");
            s.schemaNamespace = v;
            s.schemaLocation = argv[static_cast<std::size_t>(optind++)];
            break;
        case Opt::RootAttribute:
            s.rootAttributes.push_back(v);
            break;
        case Opt::Rfc4180:
            s.rfc4180 = true;
            break;
        case Opt::Param: {
            const std::size_t eq = v.find('=');
            if (eq == std::string::npos || eq == 0)
                usageError("--param needs NAME=VALUE, not \"" + v + "\"");
            std::string name = v.substr(0, eq);
            if (name.size() > 2 && name.front() == '[' && name.back() == ']')
                name = name.substr(1, name.size() - 2);
            s.parameters.emplace_back(name, v.substr(eq + 1));
            break;
        }
        case Opt::Help:
            s.help = true;
            break;
    }
}

std::string globalHelp(const std::vector<std::unique_ptr<Command>>& commands) {
    std::string text =
        "Usage: rowquill-cli COMMAND [OPTIONS] [SOURCE]\n"
        "       rowquill-cli help COMMAND | COMMAND --help\n"
        "       rowquill-cli --version\n\n"
        "Turns a table of a desktop database file or of an ODBC data source into XML.\n\n"
        "Commands:\n";
    for (const auto& c : commands) {
        std::string left = "  " + c->name();
        left += std::string(left.size() < 12 ? 12 - left.size() : 1, ' ');
        text += left + wrap(c->summary(), 12, 79) + "\n";
    }
    text += "\n" +
            wrap(
                "SOURCE is a database file or folder, or - for a delimited text table on "
                "standard input; every command but sources takes --odbc CONNECTION in its place.",
                0, 79) +
            "\n";
    text +=
        "\n" +
        wrap("Kinds (--kind): " + kindNameList() + ", or a connect string such as \"Dbase IV;\".",
             0, 79) +
        "\n";
    text +=
        "\nThe output (-o PATH) is standard output unless named; XML is written as UTF-8\n"
        "(--cp1252 for code page 1252). Problems met while reading go to standard error,\n"
        "one line each, starting \"rowquill-cli: warning: \"; a progress line is shown\n"
        "there only when it is a terminal.\n\n"
        "Exit status: 0 success, 1 usage error, 2 source or output error (also a damaged\n"
        "source without --allow-damaged).\n\n"
        "Run rowquill-cli COMMAND --help for the options of a command.\n";
    return text;
}

}  // namespace

[[noreturn]] void usageError(const std::string& message) {
    throw CliError{kExitUsage, message};
}

[[noreturn]] void sourceError(const std::string& message) {
    throw CliError{kExitFailure, message};
}

std::string oneLine(std::string text) {
    for (char& c : text)
        if (c == '\n' || c == '\r') c = ' ';
    return text;
}

Settings Command::parse(const std::vector<std::string>& args) const {
    std::vector<Opt> taken = options();
    taken.push_back(Opt::Help);
    std::vector<option> longs;
    std::string shorts = ":";
    for (Opt id : taken) {
        const OptionInfo* s = optionInfo(id);
        longs.push_back({s->name, s->value ? required_argument : no_argument, nullptr,
                         static_cast<int>(s->id)});
        if (s->shortName) shorts += std::string(1, s->shortName) + (s->value ? ":" : "");
    }
    longs.push_back({nullptr, 0, nullptr, 0});

    std::vector<std::string> words{"rowquill-cli " + name()};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    const int argc = static_cast<int>(words.size());

    Settings settings;
    optind = 0;  // a fresh scan on every call
    opterr = 0;
    int index = 0;
    for (int c; (c = getopt_long(argc, argv.data(), shorts.c_str(), longs.data(), &index)) != -1;) {
        const std::string word = argv[static_cast<std::size_t>(optind - 1)];
        if (c == ':') usageError(word.substr(0, word.find('=')) + " needs a value");
        if (c == '?') {
            const std::string flag = optopt ? std::string("-") + static_cast<char>(optopt)
                                            : word.substr(0, word.find('='));
            for (const auto& s : kOptions)
                if (flag == std::string("--") + s.name)
                    usageError(flag + " does not belong to " + name());
            usageError("unknown option " + flag);
        }
        for (const auto& s : kOptions)
            if ((s.shortName && c == s.shortName) || c == static_cast<int>(s.id)) {
                handleOption(s.id, std::string("--") + s.name, optarg, settings, argv, argc);
                break;
            }
    }
    for (int i = optind; i < argc; ++i)
        settings.positional.push_back(argv[static_cast<std::size_t>(i)]);
    return settings;
}

std::string Command::helpText() const {
    std::string text = "Usage: rowquill-cli " + name() + (synopsis().empty() ? "" : " ") +
                       synopsis() + "\n\n" + wrap(description(), 0, 79) + "\n";
    std::vector<Opt> taken = options();
    taken.push_back(Opt::Help);
    text += "\nOptions:\n";
    for (const auto& s : kOptions)
        if (std::find(taken.begin(), taken.end(), s.id) != taken.end()) text += optionLine(s);
    return text;
}

int Command::run(const std::vector<std::string>& args, Io& io) {
    Settings settings = parse(args);
    if (settings.help) {
        io.out << helpText();
        io.out.flush();
        return kExitSuccess;
    }
    return execute(settings, io);
}

int runCli(const std::vector<std::string>& args, Io& io) {
    const auto commands = makeCommands();
    std::string commandName;
    try {
        if (args.empty()) usageError("no command given");
        const std::string& first = args.front();
        if (first == "--help" || first == "-h") {
            io.out << globalHelp(commands);
            return kExitSuccess;
        }
        if (first == "--version") {
            io.out << "rowquill-cli " << ROWQUILL_VERSION << "\n";
            return kExitSuccess;
        }
        if (first.size() > 1 && first[0] == '-')
            usageError("the command comes first, before " + first);
        for (const auto& c : commands)
            if (c->name() == first) {
                commandName = first;
                const std::vector<std::string> rest(args.begin() + 1, args.end());
                if (first == "help" && rest.size() == 1) {
                    for (const auto& other : commands)
                        if (other->name() == rest[0]) {
                            io.out << other->helpText();
                            return kExitSuccess;
                        }
                    usageError("unknown command \"" + rest[0] + "\"");
                }
                if (first == "help" && rest.empty()) {
                    io.out << globalHelp(commands);
                    return kExitSuccess;
                }
                return c->run(rest, io);
            }
        usageError("unknown command \"" + first + "\"");
    } catch (const CliError& e) {
        std::string message = e.message;
        if (e.status == kExitUsage)
            message += commandName.empty() || commandName == "help"
                           ? " (see rowquill-cli --help)"
                           : " (see rowquill-cli " + commandName + " --help)";
        io.err << "rowquill-cli: " << oneLine(message) << '\n';
        return e.status;
    } catch (const std::exception& e) {
        io.err << "rowquill-cli: " << oneLine(e.what()) << '\n';
        return kExitFailure;
    }
}

}  // namespace rq::cli
