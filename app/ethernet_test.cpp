#include "app/ethernet_test.h"

KLTastr K4STethernet::info() { return "Not running"; }
