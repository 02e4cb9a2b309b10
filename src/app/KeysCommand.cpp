#include "app/Commands.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"

#include "base/Json.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "settings/ServiceKeys.h"
#include "settings/StoredKeys.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <termios.h>
#include <unistd.h>

namespace fenlo {

namespace {

const char* describe(KeyPlace place) {
    switch (place) {
    case KeyPlace::environment:
        return "environment";
    case KeyPlace::keyring:
        return "keyring";
    case KeyPlace::nowhere:
    case KeyPlace::keyringSilent:
        break;
    }
    return "not set";
}

/// Keeps a terminal from showing what is typed.
class HiddenTyping {
public:
    HiddenTyping() {
        if (::isatty(STDIN_FILENO) == 0 || ::tcgetattr(STDIN_FILENO, &m_before) != 0)
            return;
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_isHidden = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
    }
    ~HiddenTyping() {
        if (m_isHidden)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;

private:
    termios m_before{};
    bool m_isHidden = false;
};

std::string readKey(const std::string& name) {
    if (::isatty(STDIN_FILENO) != 0)
        std::fprintf(stderr, "The key of %s (it is not shown): ", name.c_str());
    std::string typed;
    {
        const HiddenTyping hidden;
        std::getline(std::cin, typed);
    }
    if (::isatty(STDIN_FILENO) != 0)
        std::fputc('\n', stderr);
    if (auto key = checkedKey(typed))
        return *key;
    throw std::runtime_error("that is no key: one line without blanks is expected on standard input");
}

int runKeysList(bool json) {
    SecretServiceStore store;
    auto list = nlohmann::ordered_json::array();
    bool isSilent = false;
    for (const ServiceKey& service : serviceKeys()) {
        const KeyPlace found = placeOf(service, store);
        const char* place = describe(found);
        isSilent = isSilent || found == KeyPlace::keyringSilent;
        list.push_back({{"name", service.name}, {"place", place}, {"variable", service.variable}});
        if (!json)
            printFormatted("%-9s %-12s %s\n", service.name, place, service.purpose);
    }
    if (json)
        print(writeJson(list, 2) + "\n");
    if (isSilent)
        std::fputs("fenlo: no keyring answers; install and unlock gnome-keyring or KWallet\n", stderr);
    return exitStatus::ok;
}

int runKeysSet(const std::string& name) {
    const ServiceKey& service = serviceKey(name);
    SecretServiceStore store;
    if (placeOf(service, store) == KeyPlace::keyringSilent) // before the user types
        throw std::runtime_error(
            "no keyring answers; install and unlock gnome-keyring or KWallet, or put the key into " +
            std::string(service.variable));
    if (const auto fault = storeKey(service, readKey(name), store))
        throw std::runtime_error(*fault);
    std::fprintf(stderr, "The key of %s is in the keyring. Fenlo takes it at its next start.\n", service.name);
    return exitStatus::ok;
}

int runKeysRemove(const std::string& name) {
    const ServiceKey& service = serviceKey(name);
    SecretServiceStore store;
    if (const auto fault = removeKey(service, store))
        throw std::runtime_error(*fault);
    std::fprintf(stderr, "The keyring has no key of %s.\n", service.name);
    return exitStatus::ok;
}

struct KeysOptions {
    std::string name;
    bool json = false;
};

} // namespace

Command addKeysCommand(CLI::App& cli) {
    const auto options = std::make_shared<KeysOptions>();
    CLI::App& command = *cli.add_subcommand("keys", "The keys of the services, in the desktop's keyring");
    command.require_subcommand(1);
    CLI::App* list = command.add_subcommand("list", "Where each key is; never the key itself");
    list->add_flag("--json", options->json, "print a JSON list");
    std::vector<std::string> names;
    for (const ServiceKey& service : serviceKeys())
        names.emplace_back(service.name);
    const CLI::IsMember isService(names);
    const auto addOfOne = [&](const char* name, const char* help) {
        CLI::App* added = command.add_subcommand(name, help);
        added->add_option("NAME", options->name, "of the service")->required()->check(isService);
        return added;
    };
    const CLI::App* set = addOfOne("set", "Keep a key, which is read from standard input");
    addOfOne("remove", "Take a key out of the keyring");
    return {&command, [=] {
                if (*list)
                    return runKeysList(options->json);
                return *set ? runKeysSet(options->name) : runKeysRemove(options->name);
            }};
}

} // namespace fenlo
