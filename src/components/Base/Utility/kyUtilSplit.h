// kyUtilSplit.h - command-line-style splitting of text that honours double quotes.
#ifndef KY_UTILITY_SPLIT_H
#define KY_UTILITY_SPLIT_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/Utility/kyUtilError.h>

namespace kyUtil {

/// Splits `text` at whitespace into `out` (cleared first). A token may be quoted as a whole:
/// `a "b c" d` gives a, b c, d; a quoted empty token "" gives an empty string. A quote must
/// start a token and its closing quote must end one. On failure the code is the 1-based
/// position of the offending character, the message one of "Unmatched double quote",
/// "Unexpected character before a double quote: '<c>'", "Unexpected character after double
/// quote: '<c>'", and `out` keeps the tokens completed before it. Reentrant.
///
/// @code
///   ky::vector<kyString::CString> words;
///   kyUtil::Error e = kyUtil::splitWithQuotes("cp \"my file\" dst", words); // 3 tokens
/// @endcode
KY_BASE_API Error splitWithQuotes(const kyString::CString& text,
                                  ky::vector<kyString::CString>& out);

/// Like `splitWithQuotes`, but quotes may open and close anywhere inside a token (and are
/// dropped), and a backslash takes a following backslash or double quote literally:
/// `a\"b "c d"` gives a"b and c d. Failures: "Single backslash character" (code: the position
/// of the backslash), "Illegal escape of character '<c>'" (code: the position of that
/// character), "Unmatched double quote" (code: the position of the opening quote).
KY_BASE_API Error splitWithQuotesAndBackslash(const kyString::CString& text,
                                              ky::vector<kyString::CString>& out);

/// 1 plus the number of LF and CR characters (1 for the empty text).
KY_BASE_API unsigned int numMultiLines(const kyString::CString& text);

} // namespace kyUtil

#endif // KY_UTILITY_SPLIT_H
