#pragma once
/// \file
/// What the tool asks of the system beyond the standard library: descriptors, terminals, the command line. One source
/// file for Linux and its like, one for Windows.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orbmath_tool {

/// Descriptors that a process begins with.
constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;
constexpr int kStandardError = 2;

/// The words behind the tool's name, in UTF-8. The standard streams pass bytes as they are from then on.
std::vector<std::string> CommandLineWords(int argc, char** argv);

/// A descriptor of a file to read bytes from. \param path UTF-8 \return below 0 with `errno` when there is none
int OpenToRead(const std::string& path);
void CloseDescriptor(int descriptor);
/// \return the bytes read, 0 at the end, below 0 with `errno`
std::ptrdiff_t ReadDescriptor(int descriptor, char* to, std::size_t count);
/// Whether reading would not wait: there is more, or the end has come.
bool HasMoreToRead(int descriptor);
/// \return whether it is a plain file, then with its size in bytes
bool IsPlainFile(int descriptor, std::uint64_t* size);
bool IsTerminal(int descriptor);

/// How many files may be open at once, one at least, those apart that the process needs for itself. The limit is
/// raised towards `wanted` where the system lets that be.
std::size_t MostOpenFiles(std::size_t wanted);

}  // namespace orbmath_tool
