// The upload-URL command as a calling program meets it where there is a proxy: the built program, a
// real proxy, a real keyring and a real HTTPS service.

#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/DesktopProxySettings.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"
#include "Support/Proxies.h"
#include "Support/WorldAuthority.h"
#include "VTTokenStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using platform::encodeUTF8;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* host = "registration.ardentra.example";

simulator::Simulator::Options options() {
    simulator::Simulator::Options options;
    options.hostNames = {host};
    return options;
}

class UploadCommandProxyTest : public testing::Test {
protected:
    UploadCommandProxyTest() {
        simulator_.acceptToken("a token");
        EXPECT_TRUE(
            VTTokenStore::setToken(encodeUTF8("a token"), simulator_.server(), std::nullopt));
    }

    static ProgramResult run(const std::map<std::string, std::optional<std::string>>& variables) {
        return runProgram({.arguments = {VT_PROGRAM, "--generate-upload-url", "report.pdf"},
                           .environment = variables});
    }

    PrivateSession session_{PrivateSession::Keyring::unlocked, proxySettingServices()};
    simulator::Simulator simulator_{worldAuthority(), options()};
    LogCapture log_;
};

} // namespace

TEST_F(UploadCommandProxyTest, GoesThroughTheProxyOfTheDesktop) {
    const HTTPProxy proxy;
    setGNOMEProxyForHTTPS(proxy.address());
    const ProgramResult result = run({});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_THAT(proxy.requests(), ElementsAre(simulator_.server()));
}

TEST_F(UploadCommandProxyTest, GoesThroughTheProxyOfItsCallersEnvironment) {
    const HTTPProxy desktopProxy;
    const HTTPProxy proxy;
    setGNOMEProxyForHTTPS(desktopProxy.address());
    EXPECT_EQ(run({{"https_proxy", "http://" + proxy.address()}}).exitStatus, 0);
    EXPECT_THAT(proxy.requests(), ElementsAre(simulator_.server()));
    EXPECT_THAT(desktopProxy.requests(), testing::IsEmpty());
}

TEST_F(UploadCommandProxyTest, LogsNoCredentialsOfAProxy) {
    const HTTPProxy proxy("ada s3cret");
    for (const std::string& address :
         {proxy.address(), std::string("127.0.0.1:1"), std::string("nowhere.invalid:1"),
          std::string("ill:formed")}) {
        const std::size_t before = log_.lines().size();
        const ProgramResult result = run({{"https_proxy", "http://ada:wr0ng@" + address}});
        EXPECT_EQ(result.exitStatus, 2);
        ASSERT_EQ(log_.lines().size(), before + 1);
        EXPECT_THAT(log_.lines().back(), HasSubstr("Error Domain=curl Code="));
        for (const std::string& text : {log_.lines().back(), result.standardError}) {
            EXPECT_THAT(text, Not(HasSubstr("wr0ng")));
            EXPECT_THAT(text, Not(HasSubstr("ada")));
        }
    }
}
