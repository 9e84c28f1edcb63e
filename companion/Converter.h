// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Companion {

/// The program history-convert: `given` when that is not empty, else the one in the folder of this
/// program, else the one in PATH. Throws Trouble when there is none.
std::string findConverter(const std::string& given);

/// Has it convert `original` from schema 0 to `converted` of schema 1, and waits for its end. What
/// it tells on standard error is seen. Throws Trouble unless it says that all went well.
void convert(const std::string& converter, const std::string& original,
             const std::string& converted);

}  // namespace Companion
