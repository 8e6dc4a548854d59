// k4sim: runs a program on the virtual K/4.
#include "sim/launcher/command_line.h"

int main(int argc, char** argv) { return k4sim::carry_out(argc, argv); }
