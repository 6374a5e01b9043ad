// kypacketConvert.h - a generic packet tree written again in another encoding.
#ifndef KY_TOOLS_KYPACKET_CONVERT_H
#define KY_TOOLS_KYPACKET_CONVERT_H

#include "kypacketParse.h"

#include <Base/IO/ioTypes.h>

#include <string>

namespace kypacket {

/// Writes `file` with `method` into `out`. Tagged values keep their kinds; the runs of a plain
/// file become UChar values (a plain binary file's bytes, or a plain text file's words when
/// every one is a byte value; other plain text is refused). False with `error` (which names
/// the byte offset) when the tree cannot be written.
bool convert(const File& file, ioWriteMethod method, std::string& out, std::string& error);

} // namespace kypacket

#endif // KY_TOOLS_KYPACKET_CONVERT_H
