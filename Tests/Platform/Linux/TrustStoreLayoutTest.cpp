// An authority that an administrator adds with the system's own tools is trusted, in the layouts of
// Debian and of Fedora. Each test runs the tool and the request in a file system with an /etc of
// its own.

#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"
#include "Support/WorldAuthority.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

constexpr const char* certificateRefused = "60\n";

class TrustStoreLayout : public testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("VT_WORLD_IS_A_FOLDER") != nullptr)
            GTEST_SKIP() << "An /etc of one's own takes namespaces.";
        simulator::Answer answer;
        answer.body = "trusted";
        simulator_.answer("/page", answer);
        for (const char* const needed :
             {"hosts", "passwd", "nsswitch.conf", "ld.so.cache", "ssl/openssl.cnf"})
            copy(needed);
        fs::create_directories(etc() / "ssl/certs");
        fs::create_directories(added());
        std::ofstream(etc() / "ca-certificates.conf").close();
        run("cd /usr/local/share/ca-certificates; openssl req -x509 -subj /CN=Other -nodes -newkey "
            "ec"
            " -pkeyopt ec_paramgen_curve:P-256 -keyout /dev/null -out other.crt");
    }

    fs::path etc() const { return folder_.path() / "etc"; }

    /// Where an administrator of Debian puts authorities.
    fs::path added() const { return folder_.path() / "added"; }

    void copy(const fs::path& file) const {
        fs::create_directories((etc() / file).parent_path());
        fs::copy_file("/etc" / file, etc() / file);
    }

    /// Runs the shell's commands as an administrator; what they print.
    std::string run(const std::string& commands) const {
        const ProgramResult result = runProgram(
            {{"bwrap", "--dev-bind", "/", "/", "--bind", etc(), "/etc", "--bind", added(),
              "/usr/local/share/ca-certificates", "sh", "-c", "set -eu; " + commands}});
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
        return result.standardOutput;
    }

    std::string load() const {
        return run(std::string(VT_LOAD_URL_PROGRAM) + " https://" + simulator_.server() + "/page");
    }

    void addAuthority() const {
        fs::copy_file(fs::path(std::getenv("VT_WORLD_AUTHORITY")) / "authority.pem",
                      added() / "own.crt");
    }

    /// What update-ca-trust does: the authorities that were added, in the forms that programs read.
    void updateTheTrustOfFedora(bool withHashedFolder) const {
        // The tool for it takes them from there.
        run("rm -rf /etc/ssl/certs; mkdir /etc/ssl/certs;"
            "cat /usr/local/share/ca-certificates/* > /etc/ssl/certs/ca-certificates.crt;"
            "mkdir -p /etc/pki/tls/certs /etc/pki/ca-trust/extracted/pem");
        extract("pem-bundle", "tls-ca-bundle.pem");
        if (withHashedFolder)
            extract("pem-directory-hash", "directory-hash");
        run("ln -sf /etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem"
            " /etc/pki/tls/certs/ca-bundle.crt;"
            "rm -rf /etc/ssl/certs; ln -s ../pki/tls/certs /etc/ssl/certs");
    }

    void extract(const std::string& format, const std::string& name) const {
        run("trust extract --overwrite --filter=ca-anchors --purpose server-auth --format=" +
            format + " /etc/pki/ca-trust/extracted/pem/" + name);
    }

    TemporaryFolder folder_;
    simulator::Simulator simulator_{worldAuthority()};
};

} // namespace

TEST_F(TrustStoreLayout, TrustsWhatWasAddedOnDebian) {
    run("update-ca-certificates");
    EXPECT_EQ(load(), certificateRefused);
    addAuthority();
    run("update-ca-certificates");
    EXPECT_EQ(load(), "trusted\n");
}

TEST_F(TrustStoreLayout, TrustsWhatWasAddedOnFedora) {
    updateTheTrustOfFedora(false);
    EXPECT_EQ(load(), certificateRefused);
    addAuthority();
    updateTheTrustOfFedora(false);
    EXPECT_EQ(load(), "trusted\n");
}

TEST_F(TrustStoreLayout, TrustsWhatWasAddedOnFedoraWithAHashedFolder) {
    addAuthority();
    updateTheTrustOfFedora(true);
    EXPECT_EQ(load(), "trusted\n");
    // Later ones have no bundle elsewhere.
    run("rm -r /etc/pki/tls /etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem /etc/ssl/certs");
    EXPECT_EQ(load(), "trusted\n");
    run("rm -r /etc/pki/ca-trust/extracted/pem/directory-hash");
    EXPECT_EQ(load(), certificateRefused);
}

TEST_F(TrustStoreLayout, LetsNoHashedFolderWithAPartHideTheBundle) {
    addAuthority();
    run("update-ca-certificates; rm /etc/ssl/certs/own.pem; openssl rehash /etc/ssl/certs");
    EXPECT_EQ(load(), "trusted\n");
    run("rm /etc/ssl/certs/ca-certificates.crt");
    EXPECT_EQ(load(), certificateRefused);
}
