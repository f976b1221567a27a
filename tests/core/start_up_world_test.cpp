#include "core/start_up.h"

#include "core/build_info.h"
#include "execution/server_context.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/status_service.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

namespace ruvo {
namespace {

constexpr char kSixItems[] = "a:1\rb:2\rc:3\rd:4\re:5\rf:6\r";

class StartUpTest : public test::WorldTest {};

TEST_F(StartUpTest, PrintsTheVersionLine) {
    const std::string line = std::string("ruvotcp V1.4.2-1.") + kBuildVariant +
                             " Build: " + kBuildDate + " " + kBuildTime + " +00:00\n";
    EXPECT_EQ(test::output_of(print_version_line), line);
    EXPECT_EQ(log(), line);
}

TEST_F(StartUpTest, CreatesTheMissingFoldersOfTheSettings) {
    std::filesystem::remove_all("/mnt/configs");
    EXPECT_EQ(test::output_of(prepare_directories), "");
    EXPECT_TRUE(std::filesystem::is_directory("/mnt/configs/ruvo"));
    EXPECT_TRUE(std::filesystem::is_directory("/mnt/configs/ruvo/config"));
    EXPECT_TRUE(std::filesystem::is_directory("/mnt/configs/ruvo/tmp"));
}

TEST_F(StartUpTest, LeavesFoldersThatAreThere) {
    test::write_text("/mnt/configs/ruvo/ruvo.txt", "PowerOnCount=0\n");
    g_debug_flag = 1;  // a command that fails would say so
    testing::internal::CaptureStdout();
    prepare_directories();
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("Error"), std::string::npos);
    EXPECT_EQ(test::text_of("/mnt/configs/ruvo/ruvo.txt"), "PowerOnCount=0\n");
}

TEST_F(StartUpTest, WritesThePidFile) {
    write_pid_file();
    EXPECT_EQ(test::text_of("/var/run/ruvotcp.pid"), std::to_string(::getpid()) + "\n");
}

TEST_F(StartUpTest, TellsTheDeviceThatNoImportIsUnderWay) {
    (void)test::output_of(clear_import_flag);
    EXPECT_EQ(tool_calls(), "set boolean network.ruvo.import=false\n");
}

TEST_F(StartUpTest, AnnouncesThePidFileAndOpensTheLog) {
    const std::string line =
        "[main:1924] create /var/run/ruvotcp.pid=" + std::to_string(::getpid()) + "\n";
    EXPECT_EQ(test::output_of(announce_pid_file), line);
    EXPECT_EQ(log(), line);
    EXPECT_EQ(g_log_ready, 1);
}

TEST_F(StartUpTest, CreatesTheServerContext) {
    create_server_context();
    const std::unique_ptr<ServerContext> server(g_server_ctx);
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(server->port, 50003);
}

TEST_F(StartUpTest, CreatesTheDaemonContextWithTheSwitchRead) {
    set_tool_answer("true\n");
    create_daemon_context();
    const std::unique_ptr<DaemonContext> context(g_daemon_ctx);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->enable, 1U);
}

class RunningStartUpTest : public test::DaemonTest {};

TEST_F(RunningStartUpTest, ReadsTheSettingsAndBuildsTheList) {
    test::write_text("/mnt/configs/ruvo/ruvo.txt", "PowerOnCount=1\n");
    EXPECT_EQ(test::output_of(read_first_settings),
              "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n");
    ASSERT_EQ(context_.eventList.get()->size(), 1U);
    EXPECT_EQ(context_.eventList.get()->front().name, "PowerOn");
}

TEST_F(RunningStartUpTest, SurvivesAMalformedIndexWithALoggedLine) {
    test::write_text("/mnt/configs/ruvo/ruvo.txt", "PowerOnCount=1\nPowerOnIPx=1.2.3.4\n");
    const std::string output = test::output_of(read_first_settings);
    EXPECT_TRUE(output.starts_with("Error: [main:")) << output;
    EXPECT_TRUE(output.ends_with("] rebuild_ruvo_event_list(): stoul\n")) << output;
    EXPECT_EQ(log(), output);
}

TEST_F(RunningStartUpTest, LogsTheAddress) {
    EXPECT_EQ(test::output_of(log_local_ip), "[main:1931] ip=192.0.2.10\n");
    EXPECT_EQ(log(), "[main:1931] ip=192.0.2.10\n");
}

TEST_F(RunningStartUpTest, GivesUpWithAMessageWhenNoThreadCanBeStarted) {
    const auto server = std::make_unique<ServerContext>();
    g_server_ctx = server.get();
    const std::string output = test::output_of([] {
        test::run_refused({SYS_clone, SYS_clone3}, EAGAIN, [] { EXPECT_FALSE(start_threads()); });
    });
    EXPECT_EQ(output,
              "Error: pthread_create handle_tcp_event(): Resource temporarily unavailable\n");
    EXPECT_EQ(log(), output);
}

TEST_F(RunningStartUpTest, DoesNotWaitForANetworkThatIsThere) {
    context_.localIp = "1.2.3.4";  // the shortest address there is
    EXPECT_EQ(test::output_of(wait_for_network), "");
    EXPECT_EQ(context_.localIp, "1.2.3.4");
}

TEST_F(RunningStartUpTest, WaitsForTheNetworkWithAMessagePerSecond) {
    context_.localIp = "1.2.3.";  // too short for an address
    std::string output;
    const auto waited = test::duration_of([&] { output = test::output_of(wait_for_network); });
    EXPECT_EQ(output, "[main:1949] wait network...1\n");
    EXPECT_EQ(log(), "[main:1949] wait network...1\n");
    EXPECT_EQ(context_.localIp, "192.0.2.10");
    EXPECT_GE(waited, std::chrono::seconds(1));
}

TEST_F(RunningStartUpTest, DoesNotWaitForAStatusServiceThatAnswers) {
    // The service's answer without its time limit, which a busy machine may miss.
    test::write_text("/tmp/tools/timeout",
                     "#!/bin/sh\nprintf 'a:1\\rb:2\\rc:3\\rd:4\\re:5\\rf:6\\r'\n");
    std::filesystem::permissions("/tmp/tools/timeout", std::filesystem::perms::owner_all);
    EXPECT_EQ(test::output_of(wait_for_status_service), "");
    EXPECT_EQ(context_.statusVariables.get()->size(), 6U);
}

TEST_F(RunningStartUpTest, CountsItsAttemptsUntilTheStatusServiceAnswers) {
    std::unique_ptr<test::StatusService> service;
    std::thread late([&] {
        // The first attempt has failed once its message is in the log.
        EXPECT_TRUE(test::eventually([] { return !log().empty(); }));
        service = std::make_unique<test::StatusService>(kSixItems);
    });
    const std::string output = test::output_of(wait_for_status_service);
    late.join();
    EXPECT_TRUE(output.starts_with("[main:1959] wait getStatus...1\n")) << output;
    EXPECT_EQ(log(), output);
    EXPECT_EQ(context_.statusVariables.get()->size(), 6U);
}

}  // namespace
}  // namespace ruvo
