#pragma once

namespace ruvo {

// The steps of start-up, in the order in which main takes them. Main thread.

void print_version_line();

// Creates the folders of the settings where they are missing.
void prepare_directories();

// Writes /var/run/ruvotcp.pid.
void write_pid_file();

// Tells the device that no import of settings is under way.
void clear_import_flag();

// Logs the pid file; from here on the log is ready.
void announce_pid_file();

// Create the two process-long objects.
void create_server_context();
void create_daemon_context();

// Reads the settings and builds the event list; false when there was no memory for it.
bool read_first_settings();

void log_local_ip();

// Starts the command server and the queue thread; false, after a message, when one
// can't be started.
[[nodiscard]] bool start_threads();

// Says what has ended the start-up, as a rule that there is no memory for what it creates.
// Called in a catch block only.
void report_failed_start() noexcept;

// Wait, without a limit, for an IPv4 address and for a full status report.
void wait_for_network();
void wait_for_status_service();

}  // namespace ruvo
