#include "ruvoctl/command_line.h"

#include "core/build_info.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/nearest_word.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/verbs.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

constexpr const char* kExamples = R"(Examples:
  ruvoctl check ruvo.txt                what is wrong with these settings, and what it costs
  ruvoctl plan -f ruvo.txt PowerOn      every byte that the event sends, where and when
  ruvoctl encode '<STX>POWER ON<CR>'    a Data value from a vendor's manual
  ruvoctl decode 504F5745520D           and back
  ruvoctl help plan                     more on a verb

Exit status: 0 as expected; 1 failed; 2 wrong usage; 3 problems found; 4 deliberately
nothing to send.)";

std::vector<std::string> verb_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* verb : app.get_subcommands({})) names.push_back(verb->get_name());
    return names;
}

const CLI::App* find_verb(const CLI::App& app, const std::string& word) {
    const auto verbs = app.get_subcommands({});
    const auto found = std::find_if(verbs.begin(), verbs.end(),
                                    [&](const CLI::App* verb) { return verb->get_name() == word; });
    return found == verbs.end() ? nullptr : *found;
}

int unknown_verb(const CLI::App& app, const std::string& word) {
    const std::string nearest = nearest_word(word, verb_names(app));
    fmt::print(stderr, "ruvoctl: there is no verb '{}'{}\n", text_of(word),
               nearest.empty() ? "; ruvoctl --help lists them"
                               : fmt::format("; did you mean '{}'?", nearest));
    return kWrongUsage;
}

void add_help_verb(CLI::App& app, Run& run) {
    CLI::App* const help = app.add_subcommand("help", "Explain a verb, with examples");
    auto word = std::make_shared<std::string>();
    help->add_option("VERB", *word, "The verb");
    help->final_callback([&app, &run, word] {
        run = [&app, word] {
            if (word->empty()) {
                // Not app.help(), which is that of the chosen verb.
                fmt::print("{}", app.get_formatter()->make_help(&app, app.get_name(),
                                                                CLI::AppFormatMode::Normal));
                return kAsExpected;
            }
            const CLI::App* const verb = find_verb(app, *word);
            if (verb == nullptr) return unknown_verb(app, *word);
            fmt::print("{}", verb->help(app.get_name()));
            return kAsExpected;
        };
    });
}

void add_verbs(CLI::App& app, Run& run) {
    struct Entry {
        const char* name;
        const char* description;
        void (*declare)(Verb);
    };
    constexpr Entry kVerbs[] = {
        {"check", "Say what the daemon will do with settings that their author did not mean",
         declare_check},
        {"plan", "Say what an event sends, where and when", declare_plan},
        {"encode", "Turn a command of a vendor's manual into a Data value", declare_encode},
        {"decode", "Show what a Data value stands for and what of it leaves", declare_decode},
    };
    for (const Entry& entry : kVerbs) {
        entry.declare({*app.add_subcommand(entry.name, entry.description), run});
    }
    add_help_verb(app, run);
}

int report_usage(const CLI::App& app, const char* what) {
    fmt::print(stderr, "ruvoctl: {}\n", text_of(what));
    const auto chosen = app.get_subcommands();
    fmt::print(stderr, "See ruvoctl help{}\n",
               chosen.empty() ? "" : " " + chosen.front()->get_name());
    return kWrongUsage;
}

int run_verb(int argc, char** argv) {
    CLI::App app{"Says exactly what a settings file of ruvotcpd will do, before it does it.",
                 "ruvoctl"};
    Run run;
    app.footer(kExamples);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", fmt::format("ruvoctl {}", kVersion));
    app.require_subcommand(1);
    add_verbs(app, run);

    // Told before the arguments of a verb that does not exist are looked at.
    if (argc > 1 && argv[1][0] != '-' && find_verb(app, argv[1]) == nullptr) {
        return unknown_verb(app, argv[1]);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help_or_version) {
        return app.exit(help_or_version) == 0 ? kAsExpected : kFailed;
    } catch (const CLI::ParseError& error) {
        return report_usage(app, error.what());
    } catch (const UsageError& error) {
        return report_usage(app, error.what());
    }
    return run();
}

}  // namespace

int run_command_line(int argc, char** argv) {
    try {
        const int status = run_verb(argc, argv);
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
        fmt::print(stderr, "ruvoctl: cannot write to standard output: {}\n", std::strerror(errno));
        return kFailed;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "ruvoctl: %s\n", error.what());
        return kFailed;
    }
}

}  // namespace ruvo::ctl
