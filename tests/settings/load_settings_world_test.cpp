#include "settings/load_settings.h"

#include "core/log.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

constexpr char kSettings[] = "/mnt/configs/ruvo/ruvo.txt";

class LoadSettingsTest : public test::DaemonTest {
  protected:
    std::string output_of_loading(std::int32_t test = 0) {
        return test::output_of(
            [this, test] { load_settings(context_, test, failure_, "main", 77); });
    }

    LogSite failure_;
};

TEST_F(LoadSettingsTest, ReadsTheFileAndRebuildsTheList) {
    test::write_text(kSettings, "PowerOnCount=1\n");
    EXPECT_EQ(output_of_loading(), "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n");
    EXPECT_EQ(context_.normalEntries.get()->size(), 1U);
    EXPECT_EQ(context_.eventList.get()->size(), 1U);
    EXPECT_EQ(failure_.written, 0);
}

TEST_F(LoadSettingsTest, AMalformedIndexCostsTheReloadAndALine) {
    test::write_text(kSettings, "PowerOnCount=1\n");
    (void)output_of_loading();
    test::write_text(kSettings, "LampCount=1\nLampIPx=1.2.3.4\n");
    EXPECT_EQ(output_of_loading(), "Error: [main:77] rebuild_ruvo_event_list(): stoul\n");
    EXPECT_TRUE(log().ends_with("Error: [main:77] rebuild_ruvo_event_list(): stoul\n"));
    EXPECT_EQ(failure_.written, 1);
    ASSERT_EQ(context_.eventList.get()->size(), 1U);
    EXPECT_EQ(context_.eventList.get()->front().name, "PowerOn");
}

TEST_F(LoadSettingsTest, ReadsTheTestSettingsIntoTheTestList) {
    test::write_text("/mnt/configs/ruvo/ruvotest.txt", "LampCount=1\n");
    EXPECT_EQ(output_of_loading(1), "");
    EXPECT_EQ(context_.eventList.get()->size(), 0U);
    ASSERT_EQ(context_.testEventList.get()->size(), 1U);
    EXPECT_EQ(context_.testEventList.get()->front().name, "Lamp");
}

TEST_F(LoadSettingsTest, AnIndexOutOfRangeCostsTheSame) {
    test::write_text(kSettings, "LampCount=1\nLampIP99999999999999999999=1.2.3.4\n");
    EXPECT_EQ(output_of_loading(), "Error: [main:77] rebuild_ruvo_event_list(): stoul\n");
}

}  // namespace
}  // namespace ruvo
