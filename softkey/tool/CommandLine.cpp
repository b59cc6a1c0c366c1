// Commands and options with their help. Values are checked here as far as the store is not needed for it.
#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <sstream>

#include "ExitCodes.h"
#include "GivenSecrets.h"

namespace kzr::softkey::tool {
namespace {

constexpr char kExamples[] =
    R"(Examples:
  softkey create DEMO0001 --sm2 张三 --rsa "Alice Miller" --pin 123456 --admin-pin 87654321
  softkey list
  softkey unplug DEMO0001
  softkey pin set DEMO0001
  softkey import DEMO0001 alice.p12 --user Alice
  softkey export DEMO0001 --output certificates.pem
  softkey ca export --type sm2 --chain chain.pem --crl list.pem
  softkey register
"softkey COMMAND --help" tells more about each command; --store, --json and
--quiet go with all of them, before or behind. A PIN or password that
is not given is asked for; from a pipe, one line is read for each.

Exit codes: 0 done, 1 failed, 2 wrong command line or value, 3 no such key or
container, 4 PIN wrong or locked, 5 there already and left alone, 6 another
server is the backend, 7 unreadable input, 8 not confirmed.)";

constexpr char kCreateFooter[] =
    R"(A USER is a name, or a name with fields behind it: "NAME;o=Example;l=Wuhan".
  c o ou st cn l mail sn   of the certificate's subject
  id                       in its identity extension
  container                the container's name (otherwise SN-1, SN-2, ...)

Example:
  softkey create DEMO0001 --sm2 "张三;id=110101199001011237" --provider "Vendor A")";

class Definition {
  public:
    Definition(CommandLine& line, GivenSecrets& secrets)
        : m_line(line), m_options(line.options), m_secrets(secrets)
    {
        Define();
    }
    CLI::App& App() { return m_app; }

  private:
    CLI::App& Command(CLI::App& above, const char* name, const char* help, Report (*run)(const Options&),
                      const char* footer = "")
    {
        CLI::App* command = above.add_subcommand(name, help);
        command->fallthrough();
        command->footer(footer);
        command->callback([this, run] { m_line.command = run; });
        return *command;
    }

    void SerialNumber(CLI::App& command)
    {
        command.add_option("SN", m_options.serialNumber, "The key's serial number")->required();
    }

    template <typename Target>
    static CLI::Option& Text(CLI::App& command, const char* name, Target& target, const char* help,
                             const char* type = "TEXT")
    {
        return *command.add_option(name, target, help)->type_name(type);
    }

    // A PIN or password. Its option's name ends with one of these words: GivenSecrets looks for them.
    void Hidden(CLI::App& command, const std::string& name, std::optional<Secret>& target, const char* help,
                const char* type)
    {
        command
            .add_option_function<std::string>(
                name, [this, name, &target](const std::string& text) { target = m_secrets.Take(name, text); },
                help)
            ->type_name(type);
    }

    // The values stand in the help, and in the sentence that refuses others: the parser's own names numbers
    // that only it knows.
    template <typename Value>
    static void Choice(CLI::App& command, const std::string& name, Value& target,
                       const std::vector<std::pair<std::string, Value>>& choices, const char* help)
    {
        std::string type, sentence;
        for (std::size_t i = 0; i < choices.size(); ++i) {
            type += (i == 0 ? "" : "|") + choices[i].first;
            sentence += (i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ") + choices[i].first;
        }
        const auto take = [=, &target](const std::string& given) {
            for (const auto& [text, value] : choices) {
                if (text == given) return void(target = value);
            }
            throw CLI::ValidationError(name + " takes " + sentence + ", not \"" + given + "\"");
        };
        command.add_option_function<std::string>(name, take, help)->type_name(type);
    }

    static void Number(CLI::App& command, const std::string& name, int& target, int least, int most,
                       const char* help)
    {
        const auto take = [=, &target](const std::string& given) {
            const char* const end = given.data() + given.size();
            const auto [stop, error] = std::from_chars(given.data(), end, target);
            if (error == std::errc() && stop == end && target >= least && target <= most) return;
            throw CLI::ValidationError(name + " takes a number from " + std::to_string(least) + " to " +
                                       std::to_string(most) + ", not \"" + given + "\"");
        };
        command.add_option_function<std::string>(name, take, help)
            ->type_name("NUMBER")
            ->default_str(std::to_string(target));
    }

    // A vector would take all that follows; this takes one value each time.
    void User(CLI::App& command, const char* name, KeyType type, const char* help)
    {
        command
            .add_option_function<std::vector<std::string>>(
                name,
                [this, type](const std::vector<std::string>& users) {
                    for (const std::string& user : users) m_options.users.push_back({type, user});
                },
                help)
            ->type_name("USER")
            ->allow_extra_args(false);
    }

    void Define();
    void DefineCreate();
    void DefineImport();
    void DefineKeys();
    void DefinePins();
    void DefineCertificates();
    void DefineRegistering();

    CommandLine& m_line;
    Options& m_options;
    GivenSecrets& m_secrets;
    CLI::App m_app{
        "Makes software keys with users and certificates, and plugs and pulls them. A software key is no\n"
        "substitute for hardware: it is for development, demonstration, training and tests.",
        "softkey"};
};

void Definition::Define()
{
    m_app.require_subcommand(0, 1);
    // "/pin" would be a second spelling, whose value stays in sight, and a path may begin with a slash.
    m_app.allow_windows_style_options(false);
    m_app.footer(kExamples);
    m_app.get_formatter()->column_width(34);
    Text(
        m_app, "--store", m_options.store,
        "Folder of the keys (otherwise KZR_SOFTKEY_HOME, or KzrSoftKey in the user's local application data)",
        "FOLDER");
    m_app.add_flag("--json", m_options.json, "Answer in JSON");
    m_app.add_flag("-q,--quiet", m_options.quiet, "No progress");
    DefineCreate();
    Command(m_app, "list", "Lists all keys with their users", List);
    SerialNumber(Command(m_app, "show", "Shows one key: certificates, tries left, files", Show));
    DefineKeys();
    DefinePins();
    DefineImport();
    DefineCertificates();
    DefineRegistering();
    Command(m_app, "status", "Says where the keys lie and who is the backend", Status);
}

void Definition::DefineCreate()
{
    CLI::App& create = Command(m_app, "create", "Makes a key with users and certificates, and plugs it",
                               tool::Create, kCreateFooter);
    create.add_option("SN", m_options.serialNumber, "Serial number; one is made up when none is given");
    User(create, "--sm2", KeyType::Sm2, "A user with SM2 certificates of the test CA; may be repeated");
    User(create, "--rsa", KeyType::Rsa, "The same with RSA");
    Hidden(create, "--pin", m_options.pin, "The user's PIN, 4 to 32 bytes", "PIN");
    Hidden(create, "--admin-pin", m_options.adminPin, "The administrator's PIN, which unblocks the user's",
           "PIN");
    Number(create, "--tries", m_options.tries, 1, 100, "Wrong PINs in a row that lock, 1 to 100");
    Text(create, "--device-type", m_options.device.type, "Type of the device").capture_default_str();
    Text(create, "--library", m_options.device.extensionLibrary, "Name of the vendor's library")
        .capture_default_str();
    Text(create, "--provider", m_options.device.provider, "Name of the vendor's CSP").capture_default_str();
    Number(create, "--days", m_options.days, 1, 36500, "Days that the certificates last, up to 36500");
    Number(create, "--start-days", m_options.startDays, -36500, 36500,
           "Days from now until they begin; less than 0: before");
    Choice<int>(create, "--rsa-bits", m_options.rsaBits,
                {{"1024", 1024}, {"2048", 2048}, {"3072", 3072}, {"4096", 4096}}, "Size of RSA keys (2048)");
    create.add_flag_callback(
        "--no-exchange", [this] { m_options.exchange = false; }, "Signing pairs only");
    create.add_flag("--unplugged", m_options.unplugged, "Do not plug it");
}

void Definition::DefineImport()
{
    CLI::App& import = Command(m_app, "import", "Puts the key and certificate of a PKCS#12 file into a key",
                               Import, "Example: softkey import DEMO0001 alice.p12 --user Alice --trust");
    SerialNumber(import);
    Text(import, "FILE", m_options.input, "The file with the signing pair", "FILE").required();
    Hidden(import, "--password", m_options.password, "Its password", "TEXT");
    Text(import, "--exchange", m_options.exchangeInput, "Another file, with the exchange pair", "FILE");
    Hidden(import, "--exchange-password", m_options.exchangePassword, "Its password", "TEXT");
    Text(import, "--user", m_options.user, "Name of the user (otherwise the certificate's)", "NAME");
    Text(import, "--container", m_options.container, "Name of the container (otherwise made from SN)",
         "NAME");
    Hidden(import, "--pin", m_options.pin, "The key's PIN", "PIN");
    import.add_flag("--trust", m_options.trust, "Trust the chain in the file from now on");
}

void Definition::DefineKeys()
{
    for (const bool plug : {true, false}) {
        CLI::App& command = Command(
            m_app, plug ? "plug" : "unplug",
            plug ? "Plugs keys: applications see them come" : "Unplugs keys: applications see them go",
            plug ? Plug : Unplug);
        command.add_option("SN", m_options.serialNumbers, "Serial numbers")->required();
    }
    CLI::App& remove = Command(m_app, "delete", "Deletes a key for good", Delete);
    SerialNumber(remove);
    remove.add_flag("--yes", m_options.yes, "Without a question");
}

void Definition::DefinePins()
{
    CLI::App* pin = m_app.add_subcommand("pin", "Changes and unblocks PINs");
    pin->footer("");
    pin->require_subcommand(0, 1);
    pin->fallthrough();
    CLI::App& set = Command(*pin, "set", "Changes the PIN, by the old one", SetPin,
                            "Example: softkey pin set DEMO0001        (asks for both PINs)");
    SerialNumber(set);
    Hidden(set, "--pin", m_options.pin, "The old PIN", "PIN");
    Hidden(set, "--admin-pin", m_options.adminPin, "The administrator's old PIN, with --admin", "PIN");
    Hidden(set, "--new-pin", m_options.newPin, "The new PIN, 4 to 32 bytes", "PIN");
    set.add_flag("--admin", m_options.administrator, "Change the administrator's PIN");
    CLI::App& unblock = Command(*pin, "unblock", "Sets a new PIN, by the administrator's", UnblockPin);
    SerialNumber(unblock);
    Hidden(unblock, "--admin-pin", m_options.adminPin, "The administrator's PIN", "PIN");
    Hidden(unblock, "--new-pin", m_options.newPin, "The new PIN, 4 to 32 bytes", "PIN");
}

void Definition::DefineCertificates()
{
    CLI::App& one = Command(m_app, "export", "Writes a key's certificates", Export,
                            "Example: softkey export DEMO0001 --pair signing --form der --output alice.cer");
    SerialNumber(one);
    Text(one, "--container", m_options.container, "Of this container only", "NAME");
    Choice<std::string>(one, "--pair", m_options.pair, {{"signing", "signing"}, {"exchange", "exchange"}},
                        "Of this pair only");
    Choice<TextForm>(one, "--form", m_options.form,
                     {{"pem", TextForm::Pem}, {"base64", TextForm::Base64}, {"der", TextForm::Der}},
                     "How they are written (pem)");
    Text(one, "-o,--output", m_options.output, "To this file instead of the output", "FILE");
    one.add_flag("--force", m_options.force, "Replace the file");

    CLI::App* authority = m_app.add_subcommand("ca", "The test CA, made on first use");
    authority->footer("");
    authority->require_subcommand(0, 1);
    authority->fallthrough();
    CLI::App& all =
        Command(*authority, "export", "Writes the test CA's chain and revocation list (PEM)", ExportAuthority,
                "Without a file, both go to the output.\n"
                "Example: softkey ca export --type rsa --chain chain.pem --crl list.pem");
    Choice<KeyType>(all, "--type", m_options.authority, {{"sm2", KeyType::Sm2}, {"rsa", KeyType::Rsa}},
                    "Which of the two (sm2)");
    Text(all, "--chain", m_options.output, "File for the chain", "FILE");
    Text(all, "--crl", m_options.listOutput, "File for the revocation list", "FILE");
    all.add_flag("--force", m_options.force, "Replace the files");

    CLI::App& revoke =
        Command(m_app, "revoke", "Puts a container's certificates on the test CA's revocation list", Revoke);
    Text(revoke, "CONTAINER", m_options.container, "The container's name", "NAME").required();
}

void Definition::DefineRegistering()
{
    CLI::App& add = Command(m_app, "register", "Makes the software key this machine's backend", Register,
                            "Needs an administrator's rights. Refuses when another server is the backend.");
    Text(add, "--dll", m_options.dll, "The DLL (otherwise KzrSoftKey_x64.dll beside this program)", "FILE");
    add.add_flag("--replace", m_options.replace, "Take another server's place; \"unregister\" puts it back");
    Command(m_app, "unregister", "Undoes \"register\", and puts back what it replaced", Unregister);
}

}  // namespace

CommandLine ReadCommandLine(std::span<const wchar_t* const> given)
{
    CommandLine line;
    GivenSecrets secrets;
    std::vector<std::string> arguments = secrets.TakeFrom(given);
    Definition definition(line, secrets);
    // The parser may have stopped before it came to it.
    const bool json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    std::reverse(arguments.begin(), arguments.end());
    try {
        definition.App().parse(std::move(arguments));
        // Asked for here: the parser's own way would hide that a command was misspelt.
        if (!line.command) throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, problem;
        line.exitCode = definition.App().exit(error, out, problem) == 0 ? kDone : kUsage;
        line.command = nullptr;
        if (json && line.exitCode != kDone)
            Print(Json{{"error", {{"code", line.exitCode}, {"message", error.what()}}}}.dump(
                      2, ' ', false, Json::error_handler_t::replace) +
                  "\n");
        Print(out.str());
        PrintError(problem.str());
    }
    return line;
}

}  // namespace kzr::softkey::tool
