#include "core/command_line.h"
#include "core/process_setup.h"
#include "core/start_up.h"
#include "core/supervision.h"

int main(int argc, char* argv[]) try {
    ruvo::set_up_process();
    if (ruvo::parse_command_line(argc, argv)) return 0;
    ruvo::print_version_line();
    ruvo::prepare_directories();
    ruvo::write_pid_file();
    ruvo::clear_import_flag();
    ruvo::announce_pid_file();
    ruvo::create_server_context();
    ruvo::create_daemon_context();
    const bool settings_read = ruvo::read_first_settings();
    ruvo::log_local_ip();
    if (!ruvo::start_threads()) return 1;
    ruvo::wait_for_network();
    ruvo::wait_for_status_service();
    ruvo::supervise(settings_read);
} catch (...) {
    ruvo::report_failed_start();
    return 1;
}
