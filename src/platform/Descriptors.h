// Descriptors of files and of standard streams: what each system has a way of its own for. A function that gives an
// int gives 0, or the reason as errno tells it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace BX::platform {

// To be called first of all: else, where a program may be started without the descriptors 0, 1 and 2, the first files
// that are opened take these numbers, and get what is meant for standard output or standard error. Reading from, or
// writing to, one that was closed fails from now on, but what is written to standard error is dropped. Bytes go through
// all three as they are.
void prepareStandardDescriptors();

// Writes all of it, however long that takes.
int writeAll(int descriptor, std::string_view text);

// Whether a file may be written to, or files be made in a folder, as far as that can be told beforehand.
int checkMayWrite(const std::filesystem::path& path, bool isFolder);

// Opens a file to write at its end, or makes it; never waits, and is not inherited. While it is open no other program
// that asks for it here gets it, where the file system has locks. -1 when errno tells the reason: EBUSY when another
// program writes it.
int openToAppend(const std::filesystem::path& path);
// Nothing when it is no regular file.
std::optional<std::int64_t> sizeOf(int descriptor);
int cutTo(int descriptor, std::int64_t size);
void closeDescriptor(int descriptor);

}  // namespace BX::platform
