// kyOSGetOpt.h - kyOS::GetOpt, the parser of typed command-line options.
#ifndef KY_OS_GETOPT_H
#define KY_OS_GETOPT_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

namespace kyOS {

/// Parses a list of command-line words against a table of options declared at run time.
///
/// Each option has a name, an optional second name ("a|b" declares primary name b and second
/// name a) and an argument list: words separated by blanks, each one of the argument types
/// "bool", "int", "float", "string", "inputfile", "inputfile-", "outputfile", "outputfile-",
/// "inoutfile", "directory", "sequence", or "?" (every later argument is optional); other
/// words are ignored. An option is selected by its full name, its second name, or any prefix
/// that leads to one option alone: an exact name wins over longer ones, and a prefix that
/// runs down a single branch selects the option at its end, passing over shorter names on
/// the way on purpose (with "color" and "colorize", "col" selects "colorize").
///
/// Arguments are checked while they are consumed: numbers and booleans by their leading
/// characters, files and directories by the virtual `valid...` checks, which a derived class
/// may replace. A "sequence" takes words up to "." or the end, or a bracketed group
/// "[ ... ]" with nested brackets kept as words. "--" ends the options.
///
/// Failure: the first problem becomes an error text (`getError`) and `getOpt` returns null
/// until `resetError`; nothing throws. Bad words never crash the parser.
///
/// Ownership: the parser owns its option records, its words and its results. Pointers to
/// options stay valid while the parser lives; the result pointer and what it holds stay
/// valid until the next `getOpt`, `initialize`, `abort` or the parser's destruction.
/// Not synchronised: one thread at a time per parser. Construction allocates the empty
/// state only; declaring an option costs one node per new character of its names.
///
/// @code
///   kyOS::GetOpt opts;
///   opts.addOption("s|size", "int int");
///   opts.addOption("verbose", "? bool");
///   const char* words[] = {"-s", "640", "480", "--verb", "--", "scene.ma"};
///   opts.initialize(6, words);
///   while (const kyOS::GetOpt::impl::result* r = opts.getOpt()) {
///       // "size" with "640", "480"; then "verbose" with no argument
///   }
///   // opts.hasErrors() is false; opts.remaining(rest) gives "scene.ma"
/// @endcode
class KY_BASE_API GetOpt {
public:
    /// The hidden parts, opaque to callers: `parse` is the parser's state, `option` one
    /// declared option (shared between the option table and the name trie), `result` what
    /// `getOpt` found.
    struct impl {
        class parse;
        class option;
        class result;
    };

    /// The argument type codes, in the order of their keywords.
    enum ArgType {
        kBool = 0,         ///< "bool": 1, true, yes, on / 0, false, no, off; stored as "1" / "0"
        kInt = 1,          ///< "int": a digit, or "-" and a digit, first (the rest is not read)
        kFloat = 2,        ///< "float": [-][.]digit first (the rest is not read)
        kString = 3,       ///< "string": any word
        kInputFile = 4,    ///< "inputfile": `validInputFile`
        kInputFileOr = 5,  ///< "inputfile-": "-" or an input file
        kOutputFile = 6,   ///< "outputfile": `validOutputFile`
        kOutputFileOr = 7, ///< "outputfile-": "-" or an output file
        kInOutFile = 8,    ///< "inoutfile": `validInOutFile`
        kDirectory = 9,    ///< "directory": `validDirectory`
        kSequence = 10,    ///< "sequence": words up to "." or a bracketed group
        kOptional = 11,    ///< "?": the arguments after it are optional
    };

    /// No options, no words; a leading dash is needed.
    GetOpt();
    GetOpt(const GetOpt&) = delete;
    GetOpt& operator=(const GetOpt&) = delete;
    virtual ~GetOpt();

    /// Empties the word queue and appends the given words in order. The first word is not
    /// skipped: pass the arguments without the program's name. Narrow words are in the
    /// process's code page. A null array or a count below 1 gives no words; null entries are
    /// skipped. A new command line also clears the end-of-options mark ("--", `abort`) and
    /// the current result; a pending error stays until `resetError`.
    void initialize(int argc, const char** argv);
    void initialize(int argc, const wchar_t** argv);
    /// The same for arrays of constant pointers, such as `main`'s `char** argv`.
    void initialize(int argc, const char* const* argv);
    void initialize(int argc, const wchar_t* const* argv);
    void initialize(const ky::vector<kyString::IString>& words);

    /// Declares an option and returns its index (0, 1, ... in order of declaration), or -1
    /// when the name or the second name is already an option, or the name is malformed
    /// (null, empty, an empty side of "|", or more than one "|"). "a|b" declares the primary
    /// name b and the second name a. A null `spec` declares no arguments.
    int addOption(const char* name, const char* spec);
    /// Adds a line to the usage text of the option at `index`; false for a bad index or a
    /// null text.
    bool addOptionUsage(int index, const wchar_t* text);

    /// The option that `name` selects (full name, second name or unique prefix), or null.
    const impl::option* findOption(const char* name) const;
    /// The option at `index`, or null when out of range.
    const impl::option* getOption(int index) const;
    /// The option's index, or -1 for null.
    int getOptionIndex(const impl::option* option) const;
    int getNumOptions() const;
    /// The primary name ("" for null).
    kyString::CString getOptionName(const impl::option* option) const;
    /// The shortest prefix of the primary name that selects this option alone ("" for null).
    kyString::CString getOptionShortestName(const impl::option* option) const;
    /// The name as it is typed: the dash (when one is needed) and the primary name, "-size".
    kyString::CString getOptionTitle(const impl::option* option) const;
    /// The argument list as declared ("" for null).
    kyString::IString getOptionTypeList(const impl::option* option) const;
    /// Usage text: "  -size integer integer\n" (dash only when one is needed, then the usage
    /// name of each argument type), each usage line as "    <line>\n"; with `withShortest`
    /// and a shortest name that differs from the full one, first the same line for the
    /// shortest name. Empty for null.
    kyString::IString getOptionUsage(const impl::option* option, bool withShortest) const;
    /// The indices of every option, sorted by primary name (byte order).
    void getSortedOptions(ky::vector<int>& indices) const;
    /// The usage text of every option that is not deprecated, sorted by primary name: the
    /// body of a "--help".
    kyString::IString getUsage(bool withShortest = true) const;

    /// Marks the option at `index` deprecated; false for a bad index. Deprecation changes
    /// nothing in parsing; `getUsage` leaves deprecated options out.
    bool markOptionDeprecated(int index);
    bool isOptionDeprecated(int index) const;
    bool isOptionDeprecated(const impl::option* option) const;

    /// Off: a word without a leading dash is taken as an option name (and usage texts show
    /// no dash). On after construction.
    void needLeadingDash(bool on);
    bool getNeedLeadingDash() const;

    /// Parses the next option with its arguments. Null at the end of the words, at "--", after
    /// `abort`, and on an error (then `hasErrors` holds and `getOpt` stays null until
    /// `resetError`).
    const impl::result* getOpt();
    /// What the last `getOpt` returned.
    const impl::result* getCurrentResult() const;

    // Result accessors; a null result gives null, "", -1 or 0.
    const impl::option* getResultOption(const impl::result* result) const;
    /// The primary name, also when the second name or a prefix was typed.
    kyString::CString getResultName(const impl::result* result) const;
    int getResultIndex(const impl::result* result) const;
    int getNumArguments(const impl::result* result) const;
    /// Argument `i`, or "" when out of range.
    kyString::IString getResultArg(const impl::result* result, int i) const;
    /// Replaces `args` with the result's arguments.
    void getResultArgs(const impl::result* result, ky::vector<kyString::IString>& args) const;

    bool hasErrors() const;
    /// The text of the last error, "" when none was met since the last `getOpt`.
    const kyString::IString& getError() const;
    /// Lets `getOpt` continue with the next word. The error text stays readable until the
    /// next `getOpt` clears it.
    void resetError();
    /// Stops parsing without an error: `getOpt` returns null until a new `initialize`. The
    /// words not yet consumed stay for `remaining`.
    void abort();
    /// Replaces `words` with the words not consumed, in order.
    void remaining(ky::vector<kyString::IString>& words) const;

    // Argument checks, each returning an empty error (code 0) when the name is acceptable
    // and code 1 with a message otherwise. Replace them to check names another way.
    /// `validFileName`, then: exists, is a plain file, is readable.
    virtual kyUtil::Error validInputFile(const kyString::IString& name);
    /// `validFileName`, then: an existing name must be a writable plain file; a new name
    /// needs a writable directory (its dirname, or "." for a bare name).
    virtual kyUtil::Error validOutputFile(const kyString::IString& name);
    /// `validInputFile`, then `validOutputFile`.
    virtual kyUtil::Error validInOutFile(const kyString::IString& name);
    /// `validFileName`, then: exists and is a directory.
    virtual kyUtil::Error validDirectory(const kyString::IString& name);
    /// Refuses names reserved for devices on Windows ("nul.txt"), on every platform.
    kyUtil::Error validFileName(const kyString::IString& name) const;

private:
    impl::parse* parse_;
};

} // namespace kyOS

#endif // KY_OS_GETOPT_H
