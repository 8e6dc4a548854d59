#pragma once
// However the process ends, the device is left safe. This is the one place that sees to it.

// Phantom power and microphone boost off, input level nominal, speaker silent. From then on this
// process switches no phantom power and no boost on any more. By any thread, at any time, any
// number of times; needs neither the test units nor their threads, and opens the mixer anew, so
// that what the card refused before is written again.
void makeHardwareSafe();

// Makes the hardware safe at each end that the program makes itself: a return from main, exit() in
// any thread, an exception that nobody catches, KLFfatal. Once, before the first thread starts.
void guardEveryEnd();
