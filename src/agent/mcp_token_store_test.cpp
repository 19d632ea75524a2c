#include "agent/mcp_token_store.hpp"

#include <gmock/gmock.h>

#include "platform/testing/fake_secret_store.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using ::testing::HasSubstr;
using Place = MCPTokenStore::Place;

struct TokenPlaces {
  QuietLog quiet;
  std::shared_ptr<FakeSecretStore> secrets = std::make_shared<FakeSecretStore>();
  std::shared_ptr<FakeSecretStore> file = std::make_shared<FakeSecretStore>();

  [[nodiscard]] MCPTokenStore store() const { return {secrets, file, randomToken}; }
};

const Failure noService{FailureKind::unreachable, "nobody offers it"};

TEST(MCPTokenStoreTest, MakesATokenOnceAndKeepsItWithTheSecrets) {
  const TokenPlaces places;
  auto store = places.store();
  EXPECT_EQ(store.place(), Place::none);
  const std::string token = store.token().value();
  EXPECT_TRUE(isToken(token));
  EXPECT_EQ(places.secrets->secret, token);
  EXPECT_EQ(places.file->secret, std::nullopt);
  EXPECT_EQ(store.place(), Place::secretService);
  EXPECT_EQ(places.store().token(), token);
  const std::string second = store.regenerate().value();
  EXPECT_NE(second, token);
  EXPECT_EQ(places.store().token(), second);
}

TEST(MCPTokenStoreTest, WithoutSecretsItLiesInTheFileUntilTheyAnswer) {
  const TokenPlaces places;
  places.secrets->failure = noService;
  auto store = places.store();
  const std::string token = store.token().value();
  EXPECT_EQ(store.place(), Place::file);
  EXPECT_EQ(places.store().token(), token);

  places.secrets->failure.reset();
  places.secrets->refusesWrites = true;
  EXPECT_EQ(places.store().token(), token);
  EXPECT_EQ(places.file->secret, token);
  places.secrets->refusesWrites = false;
  EXPECT_EQ(places.store().token(), token);
  EXPECT_EQ(places.file->secret, std::nullopt);
  EXPECT_EQ(places.secrets->secret, token);

  // What the secrets hold counts, and a file that somebody else wrote into is no token.
  places.file->secret = std::string(43, 'x');
  EXPECT_EQ(places.store().token(), token);
  EXPECT_EQ(places.file->secret, std::nullopt);
  places.secrets->failure = noService;
  places.file->secret = "short\r\n";
  EXPECT_TRUE(isToken(places.store().token().value()));
}

TEST(MCPTokenStoreTest, SaysWhyThereIsNone) {
  const TokenPlaces places;
  places.secrets->failure = noService;
  places.file->failure = Failure{FailureKind::noSpace, "no space left"};
  EXPECT_THAT(sentence(places.store().token().error()), HasSubstr("(error no space left)"));
  MCPTokenStore unlucky(places.secrets, places.file, [] { return std::unexpected(5); });
  EXPECT_THAT(sentence(unlucky.token().error()), HasSubstr("couldn’t generate a token"));
}

}  // namespace
}  // namespace vantorel
