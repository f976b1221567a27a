#include "ruvoctl/command_line.h"

int main(int argc, char** argv) { return ruvo::ctl::run_command_line(argc, argv); }
