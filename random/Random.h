// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// Random numbers from the random device of the system, which supplies the keys of records that are
/// made without one. The device is opened once and stays open to the end of the process. A device
/// that cannot be opened or read is told on standard error and is not fatal.
namespace Pvn::Random {

/// Opens the device. To be called once, before the first number is taken; takes no lock.
void initialize();

namespace Signed {

/// A number of 32 random bits, so that any value can come, negative ones included; 0 after a failed
/// read. Any thread.
int get();

}  // namespace Signed

namespace Posix {

/// The descriptor of the device; negative if the device could not be opened. initialize() never
/// sets it to a standard descriptor. Before that it is 0, so get() reads from standard input.
extern int fd;

}  // namespace Posix

}  // namespace Pvn::Random
