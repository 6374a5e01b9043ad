// kyUtilInitializer.h - kyUtil::Initializer, start-up and shut-down of global facilities.
#ifndef KY_UTILITY_INITIALIZER_H
#define KY_UTILITY_INITIALIZER_H

#include <Base/BaseExport.h>
#include <Base/Utility/kyUtilError.h>

namespace kyUtil {

/// Base of the global objects that bring a facility up and down. Each derived object registers
/// itself when constructed (normally during static construction) and declares what it needs
/// with `dependsOn`. `initializeAll()` runs every registered `initialize()` once, the most
/// depended-on first; `finalizeAll()` runs `finalize()` in the reverse order.
///
/// Ordering: every initialiser counts one visit for itself and one for each dependency path
/// that leads to it; initialisers run by visit count, highest first. Dependencies must not form
/// a cycle: `initializeAll` then fails with code 1 and initialises nothing.
///
/// Initialisers are expected to live for the whole process: destroying one does not remove it
/// from the registries. Not synchronised: `initializeAll` and `finalizeAll` are called from one
/// thread, once each, at the start and the end of the process.
///
/// @code
///   struct Tables : kyUtil::Initializer {
///       kyUtil::Error initialize() override { return kyUtil::Error(); }
///   };
///   Tables gTables;                                     // registers itself
///   kyUtil::Error e = kyUtil::Initializer::initializeAll();
///   kyUtil::Initializer::finalizeAll();
/// @endcode
class KY_BASE_API Initializer {
public:
    /// Registers the initialiser; `source` names the declaring place.
    Initializer();
    explicit Initializer(const char* source);
    Initializer(const Initializer&) = delete;
    Initializer& operator=(const Initializer&) = delete;

    /// Brings the facility up; called once by `initializeAll`.
    virtual Error initialize() = 0;

    /// Initialises every pending initialiser in dependency order. A failing `initialize()` does
    /// not stop the run: the result is the last failure in that order, or success.
    static Error initializeAll();
    /// Finalises every initialised initialiser, last initialised first. A second call does
    /// nothing.
    static void finalizeAll();

    /// Where the initialiser was declared.
    const char* source() const noexcept { return source_; }
    /// Visits counted by the last `initializeAll` (0 before).
    int visits() const noexcept { return visits_; }

protected:
    /// Brings the facility down; does nothing by default.
    virtual void finalize();

public:
    virtual ~Initializer();

protected:
    /// Declares that this initialiser needs `other` initialised first.
    void dependsOn(Initializer* other);

private:
    void addInit();

    const char* source_;
    int visits_;

    friend struct InitializerRegistry;
};

} // namespace kyUtil

#endif // KY_UTILITY_INITIALIZER_H
