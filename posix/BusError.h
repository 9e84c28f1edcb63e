// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// Tells the causes of SIGBUS apart, for the handlers of that signal.
namespace BusError {

/// Whether a signal with this `si_code` means that the page just read cannot be loaded from its
/// file. Other causes are errors of the program, such as an address that is not aligned, and
/// signals from other processes: they must not be reported as an unreadable file. Thread-safe; may
/// be called in a signal handler.
bool isUnreadablePage(int code);

/// Ends the process as if there were no handler: by the signal, with a core dump. To be called in
/// the handler, which must return right after it.
void endBySignal();

}  // namespace BusError
