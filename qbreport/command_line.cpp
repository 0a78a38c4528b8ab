#include "qbreport/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbreport/console.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::size_t kFlagColumns = 27;  // of help, which is at most 80 columns wide

// Everything that the flags can set. One object lives as long as the command.
struct Arguments {
    std::string log = "text";
    bool isQuiet = false;
    EngineOptions engine;
    RenderOptions render;
    BurstOptions burst;
    CollectOptions collect;
    ExtractOptions extract;
    CheckOptions check;
    InfoOptions info;
    NewOptions make;
    ServeOptions serve;
    WatchOptions watch;
};

class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() {
        column_width(kFlagColumns);
        label("Positionals", "Arguments");
        label("OPTIONS", "FLAGS");
        label("SUBCOMMAND", "COMMAND");
    }
    std::string make_help(const CLI::App* command, std::string name, CLI::AppFormatMode mode) const override {
        return CLI::detail::find_and_replace(CLI::Formatter::make_help(command, std::move(name), mode),
                                             "\n\n\n", "\n\n");
    }
};

std::string versionText() {
    const std::u16string wide = QBGetModuleVersion();
    return std::string("qbreport ") + QBSVR_VERSION + ", engine " + std::string(wide.begin(), wide.end()) +
           "\n";
}

CLI::Option* addText(CLI::App& command, const char* flags, std::string& value, const char* shown,
                     const char* description) {
    return command.add_option(flags, value, description)->option_text(shown);
}

// A flag that may be repeated, with one value each time.
void addList(CLI::App& command, const char* flags, std::vector<std::string>& values, const char* shown,
             const char* description) {
    command.add_option(flags, values, description)->option_text(shown)->allow_extra_args(false);
}

void addMessageFlags(CLI::App& command, Arguments& arguments) {
    command.add_option("--log", arguments.log, "Messages for people, or as lines of JSON")
        ->option_text("text|json")
        ->check(CLI::IsMember({"text", "json"}))
        ->group("Messages");
    command.add_flag("-q,--quiet", arguments.isQuiet, "Only errors")->group("Messages");
}

void addDataFlags(CLI::App& command, DataOptions& data) {
    constexpr const char* kGroup = "Data";
    std::vector<CLI::Option*> flags{
        addText(command, "-d,--data", data.file, "FILE", "Data: a file, an address, or - for standard input"),
        addText(command, "--data-kind", data.kind, "KIND",
                "json, jsonl, xml, csv, csv:separator=;\n(default: by extension or content)"),
        addText(command, "--connection", data.connection, "KIND",
                "The connection to a database; with --query"),
        addText(command, "--query", data.query, "TEXT", "What to read from the connection")};
    for (CLI::Option* flag : flags) flag->group(kGroup);
    flags[2]->needs(flags[3]);
    flags[3]->needs(flags[2])->excludes(flags[0]);
    flags[1]->needs(flags[0]);
    addList(command, "-P,--parameter", data.parameters, "NAME=VALUE", "Set a parameter; may be repeated");
    command.get_option("--parameter")->group(kGroup);
}

void addFontFlag(CLI::App& command, EngineOptions& engine) {
    addList(command, "--font-folder", engine.fontFolders, "FOLDER", "Also use the fonts of a folder");
    command.get_option("--font-folder")->group("Engine");
}

// All but the set-up folder, whose log could have data of requests.
void addReachAndLimits(CLI::App& command, EngineOptions& engine) {
    addFontFlag(command, engine);
    addList(command, "--allow-folder", engine.allowedFolders, "FOLDER",
            "Let templates and data name files there");
    addList(command, "--allow-host", engine.allowedHosts, "HOST",
            "Let templates and data name addresses there");
    addText(command, "--time-limit", engine.timeLimit, "TIME", "The time of one export: 500 ms, 10 s, 5 min");
    addList(command, "--budget", engine.budget, "NAME=VALUE",
            "Another limit of one export, such as pages=500");
    for (const char* flag : {"--allow-folder", "--allow-host", "--time-limit", "--budget"}) {
        command.get_option(flag)->group("Engine");
    }
}

void addEngineFlags(CLI::App& command, EngineOptions& engine) {
    addReachAndLimits(command, engine);
    addText(command, "--setup-folder", engine.setupFolder, "FOLDER",
            "Settings (qbsvrl6.conf), and the engine's log")
        ->group("Engine");
}

void addStrict(CLI::App& command, bool& isStrict) {
    command.add_flag("--strict", isStrict, "Exit with status 3 if there are warnings")->group("Messages");
}

void addFormatFlags(CLI::App& command, FormatOptions& options) {
    addText(command, "-f,--format", options.format, "FORMAT",
            "pdf, xlsx, xls, ods, docx, rtf, html, txt,\ncsv, json, tiff, png");
    addText(command, "--pages", options.pages, "PAGES", "Some pages only: 3, 1-3, 2-, 1-3,7");
    addText(command, "--layout", options.layout, "LAYOUT",
            "pages (default), table or grid: of xlsx, csv, ...");
    addText(command, "--resolution", options.resolution, "DPI", "Dots per inch of tiff and png");
    addList(command, "--option", options.options, "NAME=VALUE",
            "An option of the format: page-breaks, page-headers,\nall-in-one, whole-fonts, csv.defuse = yes "
            "or no");
    for (const char* flag : {"--format", "--pages", "--layout", "--resolution", "--option"}) {
        command.get_option(flag)->group("Documents");
    }
}

void addRender(CLI::App& command, Arguments& arguments) {
    RenderOptions& options = arguments.render;
    addText(command, "template", options.file, " ", "The template, or - for standard input")->required();
    addDataFlags(command, options.data);
    addList(command, "-o,--output", options.outputs, "FILE",
            "A document; its extension names the format;\n- for standard output; may be repeated");
    addFormatFlags(command, options.format);
    command.get_option("--output")->group("Documents");
    addEngineFlags(command, arguments.engine);
    addStrict(command, options.isStrict);
    command.footer(
        "Examples:\n"
        "  qbreport render invoice.qbf -d order.json -o invoice.pdf -o invoice.xlsx\n"
        "  qbreport render list.qbf -d - -f csv < rows.jsonl > list.csv");
}

void addRunFlags(CLI::App& command, BurstOptions& options) {
    constexpr const char* kGroup = "Run";
    command
        .add_option("-j,--workers", options.workers,
                    "Documents at the same time\n(default: one per processor)")
        ->option_text("N")
        ->check(CLI::Range(1, 1024));
    addText(command, "--manifest", options.manifest, "FILE",
            "A line per document\n(default: manifest.jsonl beside the documents)");
    command.add_flag("--resume", options.resumes, "Continue a run, and keep what it has finished");
    addText(command, "--shard", options.shard, "I/N", "Only the part I of N, from 1; collect joins them");
    command.add_option("--on-error", options.onError, "After a document that fails (default: skip)")
        ->option_text("skip|stop")
        ->check(CLI::IsMember({"skip", "stop"}));
    addText(command, "--metrics", options.metrics, "FILE", "Progress, in the text format of Prometheus");
    for (const char* flag : {"--workers", "--manifest", "--resume", "--shard", "--on-error", "--metrics"}) {
        command.get_option(flag)->group(kGroup);
    }
}

void addBurst(CLI::App& command, Arguments& arguments) {
    BurstOptions& options = arguments.burst;
    addText(command, "template", options.file, " ", "The template")->required();
    addDataFlags(command, options.data);
    addText(command, "--by", options.key, "COLUMN", "The column whose value is the key of a document")
        ->required()
        ->group("Data");
    addText(command, "--total", options.total, "COLUMN", "A column to add up, exactly, as a control")
        ->group("Data");
    addText(command, "-o,--output", options.output, "FILE",
            "A name with columns: 'out/{Branch}/{Account}.pdf',\nor an archive: out/statements.tar or .zip")
        ->required()
        ->group("Documents");
    addFormatFlags(command, options.format);
    addRunFlags(command, options);
    addEngineFlags(command, arguments.engine);
    addStrict(command, options.isStrict);
    command.footer(
        "Examples:\n"
        "  qbreport burst statement.qbf -d rows.jsonl --by Account -o 'out/{Account}.pdf'\n"
        "  qbreport burst statement.qbf -d rows.csv --by Account -o out/all.tar --resume");
}

void addCollect(CLI::App& command, Arguments& arguments) {
    CollectOptions& options = arguments.collect;
    addText(command, "folder", options.folder, " ", "The folder with the manifests of the shards")
        ->required();
    addDataFlags(command, options.data);
    addEngineFlags(command, arguments.engine);
    command.footer(
        "Examples:\n"
        "  qbreport collect out/\n"
        "  qbreport collect out/ -d /mnt/data/rows.jsonl");
}

void addExtract(CLI::App& command, Arguments& arguments) {
    ExtractOptions& options = arguments.extract;
    addText(command, "archive", options.archive, " ", "The archive; its index is beside it")->required();
    addText(command, "key", options.key, " ", "The key of the document")->required();
    addText(command, "-o,--output", options.output, "FILE", "The document; - for standard output (default)");
    command.footer(
        "Examples:\n"
        "  qbreport extract out/statements.tar 6222-0210 -o 6222-0210.pdf\n"
        "  qbreport extract out/statements.tar 6222-0210 | lpr");
}

void addCheck(CLI::App& command, Arguments& arguments) {
    CheckOptions& options = arguments.check;
    command.add_option("templates", options.files, "The templates")->option_text(" ")->required();
    addDataFlags(command, options.data);
    addEngineFlags(command, arguments.engine);
    addStrict(command, options.isStrict);
    command.footer(
        "Examples:\n"
        "  qbreport check *.qbf\n"
        "  qbreport check invoice.qbf -d order.json --strict");
}

void addInfo(CLI::App& command, Arguments& arguments) {
    addText(command, "template", arguments.info.file, " ", "The template, or - for standard input")
        ->required();
    command.add_flag("--json", arguments.info.isJson, "As JSON, for programs");
    addDataFlags(command, arguments.info.data);
    addEngineFlags(command, arguments.engine);
    command.footer(
        "Examples:\n"
        "  qbreport info invoice.qbf\n"
        "  qbreport info list.qbf -d rows.csv --json");
}

void addNew(CLI::App& command, Arguments& arguments) {
    addText(command, "kind", arguments.make.kind, " ", "invoice, list, labels, letter or statement")
        ->required();
    addText(command, "name", arguments.make.name, " ", "The name of the files (default: the kind)");
    command.add_flag("--force", arguments.make.replaces, "Replace files that exist");
    command.footer(
        "Examples:\n"
        "  qbreport new invoice\n"
        "  qbreport new list reports/customers");
}

void addServe(CLI::App& command, Arguments& arguments) {
    constexpr const char* kGroup = "Service";
    ServeOptions& options = arguments.serve;
    addText(command, "--templates", options.folder, "FOLDER", "The folder of the templates")->required();
    addText(command, "--listen", options.address, "ADDRESS", "Where to listen (default: 127.0.0.1:8080)");
    addText(command, "--token-file", options.tokenFile, "FILE",
            "The token that requests need; it is required\nwherever others reach the service");
    addList(command, "--server-name", options.serverNames, "NAME",
            "A name of the service; may be repeated\n(default: localhost)");
    command
        .add_option("-j,--workers", options.workers,
                    "Documents at the same time\n(default: one per processor)")
        ->option_text("N")
        ->check(CLI::Range(1, 1024));
    command.add_option("--queue", options.queue, "Requests that wait for a worker (default: 64)")
        ->option_text("N")
        ->check(CLI::Range(0, 100'000));
    addText(command, "--memory", options.memory, "SIZE", "Memory of a worker (default: 1 GiB)");
    addText(command, "--body-limit", options.bodyLimit, "SIZE", "The longest body (default: 16 MiB)");
    for (const char* flag : {"--templates", "--listen", "--token-file", "--server-name", "--workers",
                             "--queue", "--memory", "--body-limit"}) {
        command.get_option(flag)->group(kGroup);
    }
    addReachAndLimits(command, arguments.engine);
    command.footer(
        "Examples:\n"
        "  qbreport serve --templates reports/\n"
        "  curl --data-binary @order.json 'localhost:8080/render/invoice?format=pdf'");
}

void addWatch(CLI::App& command, Arguments& arguments) {
    WatchOptions& options = arguments.watch;
    addText(command, "template", options.file, " ", "The template")->required();
    addDataFlags(command, options.data);
    addText(command, "--listen", options.address, "PORT", "The port of the page (default: any that is free)");
    addEngineFlags(command, arguments.engine);
    command.footer(
        "Examples:\n"
        "  qbreport watch invoice.qbf -d order.json");
}

void addFonts(CLI::App& command, Arguments& arguments) {
    addFontFlag(command, arguments.engine);
    command.footer(
        "Examples:\n"
        "  qbreport fonts\n"
        "  qbreport fonts --font-folder brand/fonts | grep Brand");
}

void addFormats(CLI::App& command, Arguments&) {
    command.footer(
        "Examples:\n"
        "  qbreport formats\n"
        "  qbreport formats | cut -d ' ' -f 1");
}

struct Command {
    const char* name;
    const char* description;
    void (*addFlags)(CLI::App& command, Arguments& arguments);
};

constexpr Command kCommands[] = {
    {"render", "Make documents from a template and data", addRender},
    {"burst", "Make one document per key of the data", addBurst},
    {"collect", "Join the shards of a burst, and check them", addCollect},
    {"extract", "Take one document out of an archive of burst", addExtract},
    {"check", "Find what is wrong with templates and their data", addCheck},
    {"info", "Show what a template reads and uses", addInfo},
    {"new", "Write a template and data to start from", addNew},
    {"watch", "Show a report in the browser while you write it", addWatch},
    {"serve", "Make documents for HTTP requests", addServe},
    {"fonts", "List the font families that templates can use", addFonts},
    {"formats", "List the formats of documents", addFormats},
};

// All commands have names, for help. Flags have only those that occur among the words: those of all commands
// would take a tenth of the time of a small report.
void addCommands(CLI::App& app, Arguments& arguments, std::span<char*> words) {
    for (const Command& known : kCommands) {
        CLI::App& command = *app.add_subcommand(known.name, known.description)->group("Commands");
        const bool occurs = std::any_of(words.begin(), words.end(), [&](const char* word) {
            return std::string_view(word) == known.name;
        });
        if (!occurs) continue;
        known.addFlags(command, arguments);
        addMessageFlags(command, arguments);
    }
}

// The names of the command's flags: "--data", "-d".
std::vector<std::string> flagsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

std::vector<std::string> commandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

// Where the command is explained.
std::string helpOf(const CLI::App& app, const CLI::App& command) {
    return "; see qbreport " + (&app == &command ? "" : command.get_name() + " ") + "--help";
}

[[noreturn]] void failExtra(const CLI::App& app, const CLI::App& command) {
    // The value of an unknown flag is an extra, too: the flag is the cause.
    const std::vector<std::string> extras = app.remaining(true);
    const auto cause = std::find_if(extras.begin(), extras.end(),
                                    [](const std::string& extra) { return extra.starts_with('-'); });
    if (cause != extras.end()) {
        const std::string flag = cause->substr(0, cause->find('='));
        throw WrongUse("there is no flag \"" + flag + "\"" + suggestion(flag, flagsOf(command), "flags"));
    }
    const std::string extra = extras.empty() ? "" : extras.front();
    if (&app == &command) {
        throw WrongUse("there is no command \"" + extra + "\"" +
                       suggestion(extra, commandsOf(app), "commands") + helpOf(app, command));
    }
    const bool readsData = command.get_option_no_throw("--data") != nullptr;
    throw WrongUse("\"" + extra + "\" is one argument too many" +
                   (readsData ? "; data has a flag: -d " + extra : "") + helpOf(app, command));
}

[[noreturn]] void failParse(const CLI::App& app, const CLI::App& command, const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) failExtra(app, command);
    const std::string what = error.what();
    const std::string flag = what.substr(0, what.find_first_of(": "));
    const std::string see = helpOf(app, command);
    if (error.get_name() == "ArgumentMismatch" && flag.starts_with('-')) {
        const bool isRepeated = what.find(": At ") != std::string::npos && !what.ends_with(" 0");
        throw WrongUse(flag + (isRepeated ? " is given more than once" : " needs a value") + see);
    }
    if (error.get_name() == "RequiredError" && !flag.starts_with('-')) {
        throw WrongUse("the argument \"" + flag + "\" is missing" + see);
    }
    throw WrongUse(what + see);
}

std::function<ExitStatus(Messages&)> commandOf(const std::string& name,
                                               const std::shared_ptr<Arguments>& arguments) {
    if (name == "render") return [=](Messages& to) { return render(arguments->render, to); };
    if (name == "burst") return [=](Messages& to) { return burst(arguments->burst, to); };
    if (name == "collect") return [=](Messages& to) { return collect(arguments->collect, to); };
    if (name == "extract") return [=](Messages&) { return extract(arguments->extract); };
    if (name == "check") return [=](Messages& to) { return check(arguments->check, to); };
    if (name == "info") return [=](Messages& to) { return info(arguments->info, to); };
    if (name == "new") return [=](Messages&) { return makeNew(arguments->make); };
    if (name == "serve") return [=](Messages& to) { return serve(arguments->serve, to); };
    if (name == "watch") return [=](Messages& to) { return watch(arguments->watch, to); };
    if (name == "fonts") return [](Messages&) { return listFonts(); };
    return [](Messages&) { return listFormats(); };
}

std::function<ExitStatus(Messages&)> answer(std::string text) {
    return [text = std::move(text)](Messages&) {
        writeResult(text);
        return ExitStatus::Good;
    };
}

}  // namespace

CommandLine parseCommandLine(int argumentCount, char** argumentValues) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App app("Makes documents from report templates and data.", "qbreport");
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", versionText, "Show the version");
    app.formatter(std::make_shared<HelpFormatter>());
    app.require_subcommand(0, 1);
    addCommands(app, *arguments, {argumentValues, static_cast<std::size_t>(argumentCount)});
    app.footer(
        "Examples:\n"
        "  qbreport new invoice\n"
        "  qbreport render invoice.qbf -d invoice.json -o invoice.pdf\n\n"
        "qbreport COMMAND --help explains a command. Exit status: 0 good, 1 failed,\n"
        "2 wrong use, 3 warnings with --strict.");

    const auto chosen = [&]() -> CLI::App& {
        const std::vector<CLI::App*> parsed = app.get_subcommands();
        return parsed.empty() ? app : *parsed.front();
    };
    CommandLine line;
    try {
        app.parse(argumentCount, argumentValues);
    } catch (const CLI::CallForHelp&) {
        line.run = answer(&chosen() == &app ? app.help() : chosen().help(app.get_name()));
        return line;
    } catch (const CLI::CallForVersion&) {
        line.run = answer(versionText());
        return line;
    } catch (const CLI::ParseError& error) {
        failParse(app, chosen(), error);
    }
    if (app.get_subcommands().empty()) {
        throw WrongUse("a command is missing (commands: " + listed(commandsOf(app)) +
                       "); see qbreport --help");
    }
    line.form = arguments->log == "json" ? Messages::Form::Json : Messages::Form::Text;
    line.isQuiet = arguments->isQuiet;
    line.engine = arguments->engine;
    line.run = commandOf(chosen().get_name(), arguments);
    return line;
}

Messages::Form formIn(int argumentCount, char** arguments) {
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view word = arguments[i];
        const bool isPair =
            word == "--log" && i + 1 < argumentCount && arguments[i + 1] == std::string_view("json");
        if (word == "--log=json" || isPair) return Messages::Form::Json;
    }
    return Messages::Form::Text;
}

}  // namespace qbreport
