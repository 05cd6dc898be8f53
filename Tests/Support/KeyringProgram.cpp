#include "KeyringProgram.h"

#include "Platform/Linux/SecretService.h"
#include "TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace files = std::filesystem;

files::path folderOf(const char* variable) {
    const char* const path = std::getenv(variable);
    if (path == nullptr)
        throw std::runtime_error(std::string("Not in a session: no ") + variable);
    return path;
}

void writeFile(const files::path& path, const std::string& contents) {
    files::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
}

std::string readFile(const files::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The toolkit of a keyring that has windows needs a display, be it one without a screen.
Program withDisplay(Program program) {
    if (std::getenv("DISPLAY") == nullptr)
        program.environment["QT_QPA_PLATFORM"] = "offscreen";
    return program;
}

class GNOMEKeyring : public KeyringProgram {
public:
    Program unlocked() const override {
        Program program = locked();
        program.arguments.emplace_back("--unlock");
        program.standardInput = password;
        return program;
    }

    Program locked() const override {
        return {{"gnome-keyring-daemon", "--foreground", "--components=secrets"}};
    }

    std::vector<std::string> promptWindow() const override { return {"--class", "gcr-prompter"}; }
};

class KeePassXC : public KeyringProgram {
public:
    Program unlocked() const override {
        static const std::string emptyDatabase = makeDatabase();
        if (!files::exists(database()))
            writeFile(database(), emptyDatabase);
        Program program = locked();
        program.arguments.emplace_back("--pw-stdin");
        program.standardInput = std::string(password) + '\n';
        return program;
    }

    Program locked() const override {
        writeFile(folderOf("XDG_CONFIG_HOME") / "keepassxc/keepassxc.ini", settings);
        Program program{{"keepassxc"}};
        if (files::exists(database()))
            program.arguments.push_back(database());
        return withDisplay(std::move(program));
    }

    std::vector<std::string> promptWindow() const override {
        return {"--name", "^Unlock Database"};
    }

private:
    static constexpr const char* settings = R"([General]
ConfigVersion=2
UpdateCheckMessageShown=true
[GUI]
CheckForUpdates=false
MinimizeOnStartup=true
[FdoSecrets]
Enabled=true
ShowNotification=false
ConfirmAccessItem=false
ConfirmDeleteItem=false
)";

    /// A database whose root group is what other programs see, as set in its settings.
    static constexpr const char* contents = R"(<KeePassFile><Meta><CustomData><Item>
<Key>FDO_SECRETS_EXPOSED_GROUP</Key><Value>{01234567-89ab-cdef-0123-456789abcdef}</Value>
</Item></CustomData></Meta><Root><Group>
<UUID>ASNFZ4mrze8BI0VniavN7w==</UUID><Name>Passwords</Name>
</Group></Root></KeePassFile>)";

    /// Its name is that of the keyring.
    static files::path database() { return folderOf("XDG_DATA_HOME") / "login.kdbx"; }

    static std::string makeDatabase() {
        const TemporaryFolder folder;
        writeFile(folder.path() / "contents.xml", contents);
        const ProgramResult result =
            runProgram({{"keepassxc-cli", "import", "--set-password", "--decryption-time", "100",
                         folder.path() / "contents.xml", folder.path() / "database"},
                        {},
                        std::string(password) + '\n' + password + '\n'});
        if (result.exitStatus != 0)
            throw std::runtime_error("No database: " + result.standardError);
        return readFile(folder.path() / "database");
    }
};

class KWallet : public KeyringProgram {
public:
    Program unlocked() const override {
        static const std::string emptyWallet = makeWallet();
        if (!files::exists(wallet()))
            writeFile(wallet(), emptyWallet);
        return locked();
    }

    Program locked() const override {
        writeFile(folderOf("XDG_CONFIG_HOME") / "kwalletrc",
                  "[Wallet]\nFirst Use=false\nDefault Wallet=login\n");
        return withDisplay({{"kwalletd5"}});
    }

    void unlock() const override {
        openWallet();
        // Open as the wallet is, its collection counts as locked until somebody unlocks that too.
        std::unique_ptr<platform::SecretService> service;
        if (platform::SecretService::connect(service) == platform::errSecSuccess) {
            std::string collection;
            service->openDefaultCollection(collection);
        }
    }

    void save() const override {
        runProgram({{"dbus-send", "--session", "--print-reply", "--dest=org.kde.kwalletd5",
                     "/modules/kwalletd5", "org.kde.KWallet.closeAllWallets"}});
    }

    std::vector<std::string> promptWindow() const override { return {"--class", "kwalletd5"}; }

private:
    static files::path wallet() { return folderOf("XDG_DATA_HOME") / "kwalletd/login.kwl"; }

    /// As the login does it: with a hash of the password, which is made up here.
    static void openWallet() {
        std::string hash = "array:byte:0x41";
        for (int count = 1; count < 56; ++count)
            hash += ",0x41";
        runProgram(
            {{"dbus-send", "--session", "--print-reply", "--dest=org.kde.kwalletd5",
              "/modules/kwalletd5", "org.kde.KWallet.pamOpen", "string:login", hash, "int32:0"}});
    }

    /// A wallet that is made while the program runs is not to be seen before it starts anew.
    std::string makeWallet() const {
        const ChildProcess program(locked());
        if (!waitUntil([] {
                openWallet();
                return files::exists(wallet());
            }))
            throw std::runtime_error("No wallet: " + program.standardError());
        return readFile(wallet());
    }
};

} // namespace

const KeyringProgram& KeyringProgram::underTest() {
    static const GNOMEKeyring gnomeKeyring;
    static const KeePassXC keePassXC;
    static const KWallet kWallet;
    const char* const variable = std::getenv("VT_KEYRING");
    const std::string name = variable == nullptr ? "gnome-keyring" : variable;
    if (name == "gnome-keyring")
        return gnomeKeyring;
    if (name == "keepassxc")
        return keePassXC;
    if (name == "kwallet")
        return kWallet;
    throw std::runtime_error("Unknown keyring program: " + name);
}
