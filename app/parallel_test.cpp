#include "app/parallel_test.h"

KLTastr K4STparallel::info() { return "Not running"; }
