// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/plot/Picture.h"

namespace HistoryDb {

/// The picture as an SVG file of its own: no scripts, nothing from elsewhere, light or dark as the
/// viewer is. The same picture gives the same bytes, in UTF-8.
std::string svgOf(const Picture& picture);

}  // namespace HistoryDb
