// kyImplBase.h - ky::ImplBase, the base of every hidden implementation object.
#ifndef KY_UTILITY_IMPLBASE_H
#define KY_UTILITY_IMPLBASE_H

#include <Base/BaseExport.h>

namespace ky {

/// Empty polymorphic base of the `...Impl` classes behind public classes: a public class owns
/// its implementation through one `ImplBase`-derived pointer and deletes it in its destructor
/// without knowing the concrete type. No data; nothing to synchronise.
class KY_BASE_API ImplBase {
public:
    ImplBase() = default;
    ImplBase(const ImplBase&) = default;
    ImplBase& operator=(const ImplBase&) = default;
    virtual ~ImplBase();
};

} // namespace ky

#endif // KY_UTILITY_IMPLBASE_H
