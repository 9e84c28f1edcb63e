// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace TestSupport {

/// Expects that a file of the project holds just this text. With WRITE_KEPT_FILES in the
/// environment it is written instead.
void expectKept(const std::string& path, const std::string& text);

}  // namespace TestSupport
