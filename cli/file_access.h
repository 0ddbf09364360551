// File-system and process services that acearc needs beyond std::filesystem.
#pragma once

#include <ctime>
#include <filesystem>
#include <string>

namespace acearc {

// A path as the plug-in and the command line take it: in the ANSI code page on
// Windows (std::filesystem would give UTF-8 there), as it is on POSIX. With
// `generic`, "/" separates its parts.
std::string PathText(const std::filesystem::path& path, bool generic = false);

// Whether acearc may read the file, asked before the plug-in is given it.
bool CanReadFile(const std::filesystem::path& path);

// The last-write time of a file or folder, in seconds since 1970.
bool GetModifiedTime(const std::filesystem::path& path, std::time_t* seconds);

// Sets the last-write time of a file or folder, leaving its access time.
bool SetModifiedTime(const std::filesystem::path& path, std::time_t seconds);

// Sets an environment variable of this process, which the plug-in reads too.
void SetEnvironmentValue(const char* name, const std::string& value);

// A library beside the plug-in that this process loaded, opened again by name;
// nullptr when it is missing. LibrarySymbol looks a function up in it.
void* OpenLibraryBesidePlugin(const char* name);
void* LibrarySymbol(void* library, const char* name);
void CloseLibrary(void* library);

// A new folder, only for this user where the system allows, in the system's
// temporary folder, named `prefix` and a random part; empty on failure.
std::filesystem::path MakeTempFolder(const std::string& prefix);

}  // namespace acearc
