#pragma once
// The orchestrator: one complete self-test of the device.

// Bits of the argument of testAll.
inline constexpr int flagNoMicBoost = 1; // the analog audio test leaves the boost off
inline constexpr int flagNoKeypad = 2;   // the front panel has no numeric keypad to test
inline constexpr int flagNoAnalog = 4;   // the analog audio test is not made

// Results of testAll, and so of the program.
inline constexpr int exitPassed = 0;
inline constexpr int exitNoParallelThread = -1;
inline constexpr int exitNoEthernetThread = -2;
inline constexpr int exitNoUsbThread = -3;
inline constexpr int exitNoFrontpanelThread = -4;
inline constexpr int exitNoAudioThread = -5; // analog audio or AES/EBU
inline constexpr int exitAborted = -6;

// Starts the six test units, shows their status texts on the OLED as they change, and ends
// when all six read "OK" in a picture that was just drawn, or when the operator aborts.
// SIGINT, SIGTERM and SIGHUP, which the caller has held (holdAbortSignals), are an abort by the
// operator, too. A second one, or a unit that can't be joined within 3 s after the first, ends the
// process at once, with the status of an abort.
//
// Called once, by the process's first thread, which becomes the main thread "PT-Main".
//
// Without the analog test, and on a board without AES/EBU interface, a row stays empty: the
// test then runs until the operator aborts.
[[nodiscard]] int testAll(int flags);

// The program's closing line on the console.
void printExitCode(int code);
