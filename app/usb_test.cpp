#include "app/usb_test.h"

KLTastr K4STusb::info() { return "Not running"; }
