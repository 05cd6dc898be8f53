#include "KeyringScene.h"

#include "Desktop App/StoredRecords.h"
#include "Platform/Linux/SecretService.h"
#include "Support/BusRelay.h"
#include "Support/WaitUntil.h"
#include "Support/WorldAuthority.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

using platform::errSecSuccess;
using platform::SecretService;

namespace {

std::unique_ptr<SecretService> connect() {
    std::unique_ptr<SecretService> service;
    EXPECT_EQ(SecretService::connect(service), errSecSuccess);
    return service;
}

std::vector<std::string> find(SecretService& service, const SecretService::Attributes& attributes) {
    SecretService::Matches matches;
    EXPECT_EQ(service.search(attributes, matches), errSecSuccess);
    return matches.unlocked;
}

/// Those that are not empty.
std::string joined(const std::vector<std::string>& texts, const std::string& between) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() || text.empty() ? "" : between) + text;
    return all;
}

PrivateSession::Services servicesOf(const KeyringScene::Form& form) {
    PrivateSession::Services services = form.services;
    if (form.hasPrompter)
        services.merge(KeyringPrompts::services());
    return services;
}

} // namespace

KeyringScene::KeyringScene(const StoreOperation& operation, const Form& form)
    : operation_(operation),
      prompts_(form.hasPrompter ? std::make_optional<KeyringPrompts>() : std::nullopt),
      session_(PrivateSession::Keyring::unlocked, servicesOf(form)),
      service_(worldAuthority(), {.port = 443, .hostNames = {uploadServer}}) {
    service_.answer("/api/my_prints/v1/upload_target", {.body = uploadAnswer});
    if (operation.adds())
        return;
    EXPECT_TRUE(VTTokenStore::setToken(bytes("old token"), uploadServer, "ada@example.com"));
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("old code", uploadServer));
}

std::map<std::string, std::string> KeyringScene::attributes() const {
    return {{"class", "generic-password"}, {"service", operation_.service}, {"creator", "NRVL"}};
}

void KeyringScene::store(const std::string& secret,
                         const std::map<std::string, std::string>& more) const {
    auto all = more;
    all.merge(attributes());
    EXPECT_EQ(connect()->createItem(PrivateSession::defaultCollection, "Foreign", all, secret),
              errSecSuccess);
}

void KeyringScene::storeCopy(const std::map<std::string, std::string>& more) const {
    const auto keyring = connect();
    std::string secret;
    EXPECT_EQ(keyring->getSecret(find(*keyring, attributes()).at(0), secret), errSecSuccess);
    store(secret, more);
}

void KeyringScene::setSecret(const std::string& secret) const {
    const auto keyring = connect();
    EXPECT_EQ(keyring->setSecret(find(*keyring, attributes()).at(0), secret), errSecSuccess);
}

void KeyringScene::deleteItem() const {
    const auto keyring = connect();
    EXPECT_EQ(keyring->deleteItem(find(*keyring, attributes()).at(0)), errSecSuccess);
}

void KeyringScene::deleteKeyring() const {
    const ProgramResult result = runProgram(
        {{"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.secrets",
          PrivateSession::defaultCollection, "org.freedesktop.Secret.Collection.Delete"}});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
}

void KeyringScene::killKeyring() {
    session_.keyring().kill();
    bool unlocked = false;
    EXPECT_TRUE(waitUntil([&] {
        return connect()->isDefaultCollectionUnlocked(unlocked) ==
               platform::errSecServiceNotAvailable;
    }));
}

void KeyringScene::letKeyringGoOn() {
    session_.keyring().sendSignal(SIGCONT);
    find(*connect(), attributes());
}

void KeyringScene::performWhen(const std::string& method, const std::function<void()>& before,
                               const std::function<void()>& after,
                               const std::function<void()>& perform) {
    const BusRelay relay(session_.folder(), {method, before, after});
    perform();
    EXPECT_TRUE(relay.hasHappened());
}

std::string KeyringScene::lines() {
    return joined(log_.lines(), " | ");
}

std::string KeyringScene::keptItems() {
    session_.bus().sendSignal(SIGCONT);
    if (!session_.bus().isRunning())
        session_.startBusAnew();
    session_.keyring().kill();
    session_.startKeyring(PrivateSession::Keyring::unlocked);
    const std::string foreign = itemsOf("OTHR");
    return joined({itemsOf("NRVL"), foreign.empty() ? "" : "another's: " + foreign}, " and ");
}

std::string KeyringScene::itemsOf(const std::string& creator) const {
    const auto keyring = connect();
    std::vector<std::string> items;
    for (const auto& item :
         find(*keyring, {{"service", operation_.service}, {"creator", creator}})) {
        std::string secret;
        EXPECT_EQ(keyring->getSecret(item, secret), errSecSuccess);
        items.push_back(wordsOfSecret(secret));
    }
    std::sort(items.begin(), items.end());
    return joined(items, " and ");
}
