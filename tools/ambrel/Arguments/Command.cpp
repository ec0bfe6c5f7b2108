#include "tools/ambrel/Arguments/Command.hpp"

#include <memory>
#include <utility>

namespace Ambrel {

namespace {

class Command final : public CLI::App {
public:
    Command(CLI::App& program, const std::string& name, const std::string& description,
            std::function<void(CLI::App&)> define)
        : CLI::App(description, name, &program), define_(std::move(define)) {
        preparse_callback([this](std::size_t) { this->define(); });
    }

    void define() {
        if (const auto define = std::exchange(define_, nullptr)) {
            define(*this);
        }
    }

private:
    std::function<void(CLI::App&)> define_;
};

} // namespace

void addCommand(CLI::App& program, const std::string& name, const std::string& description,
                std::function<void(CLI::App& command)> define) {
    program.add_subcommand(
        std::make_shared<Command>(program, name, description, std::move(define)));
}

CLI::App& defined(CLI::App& command) {
    if (auto* const undefined = dynamic_cast<Command*>(&command)) {
        undefined->define();
    }
    return command;
}

std::vector<CLI::App*> commandsOf(const CLI::App& command) {
    return defined(const_cast<CLI::App&>(command)).get_subcommands([](CLI::App*) { return true; });
}

} // namespace Ambrel
