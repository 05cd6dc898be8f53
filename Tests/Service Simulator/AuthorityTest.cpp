#include "Authority.h"

#include "Client.h"
#include "Simulator.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using simulator::Authority;

TEST(Authority, MakesOneUnlikeAnyOther) {
    EXPECT_NE(Authority::make().certificate(), Authority::make().certificate());
}

TEST(Authority, IsTheSameOnceSavedAndLoaded) {
    const TemporaryFolder folder;
    const Authority authority = Authority::make();
    authority.save(folder.path());
    EXPECT_EQ(Authority::load(folder.path()).certificate(), authority.certificate());
}

TEST(Authority, MakesTheFolderThatItIsSavedIn) {
    const TemporaryFolder folder;
    EXPECT_FALSE(Authority::isSavedIn(folder.path() / "a" / "b"));
    Authority::make().save(folder.path() / "a" / "b");
    EXPECT_TRUE(Authority::isSavedIn(folder.path() / "a" / "b"));
}

TEST(Authority, KeepsItsKeyToTheOwner) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "authority.key") << "an earlier one, open to all";
    Authority::make().save(folder.path());
    const auto permissions = std::filesystem::status(folder.path() / "authority.key").permissions();
    EXPECT_EQ(permissions,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Authority, IsTrustedByItsFolder) {
    const TemporaryFolder folder;
    Authority::make().save(folder.path());
    const Authority authority = Authority::make();
    authority.save(folder.path());
    const simulator::Simulator service(authority);
    Client client(folder.path().string());
    const Outcome outcome = client.get("https://" + service.server() + "/");
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
}

TEST(Authority, RefusesAFolderWithoutOne) {
    const TemporaryFolder folder;
    EXPECT_THROW(Authority::load(folder.path()), std::runtime_error);
}

TEST(Authority, RefusesAKeyThatIsNotItsOwn) {
    const TemporaryFolder folder;
    const TemporaryFolder other;
    Authority::make().save(folder.path());
    Authority::make().save(other.path());
    std::filesystem::copy_file(other.path() / "authority.key", folder.path() / "authority.key",
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_THROW(Authority::load(folder.path()), std::runtime_error);
}
