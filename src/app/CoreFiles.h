#pragma once

namespace fenlo {

/// Call first of all. No crash of this process, nor of the programs that it starts, leaves an image of its memory,
/// which holds keys, tokens and what was dictated: neither in a file nor with a program that collects such images. A
/// debugger works as ever.
void leaveNoCoreFiles();

} // namespace fenlo
