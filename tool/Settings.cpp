#include "tool/Settings.h"

const char* programName = nullptr;
bool quiet = false;
const char* originalDatabaseFileName = nullptr;
const char* originalDatabaseVersionName = nullptr;
const char* convertedDatabaseFileName = nullptr;
const char* convertedDatabaseVersionName = nullptr;
