#include "devkit/command_line.h"

#include <iostream>
#include <memory>
#include <utility>

namespace ruvo::devkit {
namespace {

class UsageFormatter : public CLI::Formatter {
  public:
    explicit UsageFormatter(std::string arguments) : arguments_(std::move(arguments)) {}

    std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
        return "Usage: " + app->get_name() + " " + arguments_ + "\n";
    }

  private:
    std::string arguments_;
};

}  // namespace

void set_usage(CLI::App& app, const std::string& arguments) {
    app.formatter(std::make_shared<UsageFormatter>(arguments));
}

int usage_error(const CLI::App& app, const std::string& message) {
    const std::string& name = app.get_name();
    std::cerr << name << ": " << message << "\n";
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    if (formatter) std::cerr << formatter->make_usage(&app, name);
    std::cerr << "Try '" << name << " --help'.\n";
    return kUsageError;
}

std::optional<int> parse_command_line(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help() << std::flush;
        return 0;
    } catch (const CLI::ParseError& error) {
        return usage_error(app, error.what());
    }
    return std::nullopt;
}

}  // namespace ruvo::devkit
