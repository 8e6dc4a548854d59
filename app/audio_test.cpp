#include "app/audio_test.h"

KLTastr K4STaudio::info() { return "Not running"; }
