// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes what the system would end the process for without a word end it with a record on standard
/// error and status 255, as every fatal error does: memory that cannot be had, and a file that was
/// mapped and cannot be read, because its device failed or somebody cut it off. Writes past the
/// limit of the file size, and of messages that nobody reads, get an error instead of a signal, so
/// that a conversion goes on. To be called once, before any other thread runs.
void reportFaults();
