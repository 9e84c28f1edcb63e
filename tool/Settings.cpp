// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Settings.h"

const char* programName = nullptr;
bool quiet = false;
const char* originalDatabaseFileName = nullptr;
const char* originalDatabaseVersionName = nullptr;
const char* convertedDatabaseFileName = nullptr;
const char* convertedDatabaseVersionName = nullptr;
