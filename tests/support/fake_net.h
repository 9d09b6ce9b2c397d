// The kernel's network interfaces, played from a tree of files: the program's own ioctl() answers for the
// interfaces of "<root>/sys/class/net". Without such a folder the kernel is asked.
//
//     flags      as hexadecimal number; an interface without this file is none
//     address    the hardware address, "52:54:00:12:34:56"; without it there is none
//     ipv4       "192.168.1.10/255.255.255.0"; without it the interface has no address
//
// It needs nothing of the tests, so that a shared object of it can be loaded into any program; the root is
// then that of the environment, MORV_ROOT.
#pragma once

#include <string>

namespace testing_support {

// From now on the interfaces are those of this root.
void play_interfaces(const std::string &root);

// Makes an interface, or changes it. `ipv4` empty: without an address.
void make_interface(const std::string &root, const std::string &name, unsigned flags,
                    const std::string &ipv4);

}  // namespace testing_support
