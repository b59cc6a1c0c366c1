// What the command line says. One structure for all commands: each reads what its own options can set.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "crypto/Algorithms.h"
#include "store/Store.h"

namespace kzr::softkey::tool {

// One user as --sm2 and --rsa name it: "NAME" or "NAME;field=value;...".
struct UserOption {
    KeyType type;
    std::string text;
};

enum class TextForm { Pem, Base64, Der };

struct Options {
    // For every command.
    std::string store;
    bool json = false;
    bool quiet = false;

    // Keys and containers.
    std::string serialNumber;
    std::vector<std::string> serialNumbers;
    std::string container;
    DeviceDescription device;
    std::vector<UserOption> users;
    bool exchange = true;
    bool unplugged = false;

    // PINs that were not given are asked for.
    std::optional<Secret> pin, adminPin, newPin;
    int tries = kDefaultTries;
    bool administrator = false;

    // Certificates.
    int rsaBits = 2048;
    int startDays = 0;
    int days = 365;
    KeyType authority = KeyType::Sm2;
    bool trust = false;

    // Files.
    std::string input, exchangeInput;
    std::optional<Secret> password, exchangePassword;
    std::string user;
    std::string output, listOutput;
    TextForm form = TextForm::Pem;
    std::string pair;
    bool force = false;

    // Registering and removing.
    std::string dll;
    bool replace = false;
    bool yes = false;
};

}  // namespace kzr::softkey::tool
