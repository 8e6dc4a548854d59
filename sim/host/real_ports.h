// The port space of this machine's processor (--real ports), shadowed by the virtual device.
//
// Nothing here is ever called but for a run that has asked for that role.
#pragma once

namespace k4sim {

// From now on the program's port instructions go to the hardware.
void use_real_ports();

// Whether the kernel lets this process use the ports. It has the right only while an access is
// carried out, so that each instruction of the program still traps. errno tells why not.
bool real_ports_granted();

} // namespace k4sim
