// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/plot/Picture.h"

namespace HistoryDb {

/// The picture in lines of at most 80 columns: in UTF-8 with blocks, or in ASCII alone.
std::string terminalPictureOf(const Picture& picture, bool ascii);

}  // namespace HistoryDb
