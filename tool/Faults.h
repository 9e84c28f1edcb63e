// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes these end the process with a record on standard error and status 255, like every fatal
/// error: memory that is not available, and a mapped file that cannot be read because its device
/// failed or another process truncated it. Other bus errors, such as a wrong alignment, are errors
/// of the program and still end it by the signal. Writes past the limit of the file size, and to a
/// pipe without a reader, fail with an error instead of a signal, so a conversion continues. To be
/// called once, before any other thread runs.
void reportFaults();
