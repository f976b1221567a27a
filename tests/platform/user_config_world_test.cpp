// Against the simulated device's library and its store.

#include "platform/user_config.h"

#include "net/command_handling.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/packet_pair.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

namespace ruvo {
namespace {

constexpr char kStore[] = "/tmp/ruvo_user_config.json";

class UserConfigTest : public test::DaemonTest {
  protected:
    UserConfigTest() {
        ::setenv("RUVO_USER_CONFIG", kStore, 1);
        test::write_text(kStore,
                         R"({"network": {"ruvo": {"enable": true, "off": false, "ratio": 2.5,
                             "whole": 3.0, "count": 42, "below": -7, "name": "Main hall",
                             "empty": "", "none": null, "list": [1, 2], "folder": {}}},
                             "flat": 9, "a=b": {"c": "whole"}})");
    }
    ~UserConfigTest() override { ::unsetenv("RUVO_USER_CONFIG"); }
};

TEST_F(UserConfigTest, EveryTypeHasItsText) {
    struct Case {
        const char* key;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"network.ruvo.enable", "1", "true"},
        {"network.ruvo.off", "0", "false"},
        {"network.ruvo.ratio", "2.500000", "a double"},
        {"network.ruvo.whole", "3.000000", "a double without a fraction"},
        {"network.ruvo.count", "42", "an integer"},
        {"network.ruvo.below", "-7", "a negative integer"},
        {"network.ruvo.name", "Main hall", "a string"},
        {"network.ruvo.empty", "", "an empty string"},
        {"network.ruvo.none", "", "null has no text"},
        {"network.ruvo.list", "", "a list has no text"},
        {"network.ruvo.folder", "", "an object has no text"},
        {"network.ruvo", "", "nor has a section"},
        {"network", "", "nor has the whole"},
        {"flat", "9", "a key without a dot"},
        {"network.ruvo.nothing", "", "an unknown key"},
        {"network.nothing.enable", "", "an unknown folder"},
        {"nothing.ruvo.enable", "", "an unknown section"},
        {"network.ruvo.enable.more", "", "a path through a value"},
        {"NETWORK.ruvo.enable", "", "case counts"},
        {"", "", "no key"},
        {".", "", "a dot alone"},
        {"network.", "", "a dot at the end"},
        {"network..enable", "", "two dots"},
        {"net\"work.ruvo.enable", "", "a quote makes the query no JSON"},
        {"\\.a", "", "so does a backslash"},
    };
    for (const Case& c : kCases) EXPECT_EQ(get_token_value(c.key), c.expected) << c.why;
}

TEST_F(UserConfigTest, AStoreThatSaysNothingReadsEmpty) {
    for (const char* const text : {"", "{", "[]", "1", "null", "{\"network\": 1}", "\xFF"}) {
        test::write_text(kStore, text);
        EXPECT_EQ(get_token_value("network.ruvo.enable"), "") << text;
    }
    std::filesystem::remove(kStore);
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "");
    std::filesystem::create_directory(kStore);
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "");
}

TEST_F(UserConfigTest, AStoreThatMayNotBeReadReadsEmpty) {
    std::filesystem::permissions(kStore, std::filesystem::perms::none);
    test::run_bound_by_file_modes([] { EXPECT_EQ(get_token_value("network.ruvo.enable"), ""); });
}

TEST_F(UserConfigTest, ReadsTheStoreAnewEachTime) {
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "1");
    test::write_text(kStore, R"({"network": {"ruvo": {"enable": "now a text"}}})");
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "now a text");
}

TEST_F(UserConfigTest, ASectionOfUpTo127CharactersIsFound) {
    const std::string fits = test::repeated(127, 'x');
    const std::string cut = test::repeated(128, 'y');
    test::write_text(kStore, "{\"" + fits + "\": {\"a\": 1}, \"" + cut + "\": {\"a\": 2}}");
    EXPECT_EQ(get_token_value(fits + ".a"), "1");
    EXPECT_EQ(get_token_value(cut + ".a"), "");
}

TEST_F(UserConfigTest, TheReadingCommandAnswersWithTheValue) {
    const auto replies_to = [](const std::string& key, const std::string& value) {
        test::PacketPair connection;
        (void)handle_tcp_command(connection.near_end(), key, value);
        return connection.sent();
    };
    using Replies = std::vector<std::string>;
    EXPECT_EQ(replies_to("__GET__:network.ruvo.enable\n", "ignored"),
              Replies{"network.ruvo.enable=1\n"});
    EXPECT_EQ(replies_to("__GET__:network.ruvo.ratio", ""),
              Replies{"network.ruvo.ratio=2.500000\n"});
    EXPECT_EQ(replies_to("__GET__:network.ruvo.name", ""),
              Replies{"network.ruvo.name=Main hall\n"});
    EXPECT_EQ(replies_to("__GET__:a=b.c", ""), Replies{"a=b.c=whole\n"})
        << "an equals sign is the key's here";
    EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace ruvo
