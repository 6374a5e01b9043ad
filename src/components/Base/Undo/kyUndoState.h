// kyUndoState.h - kyUndo::State, the done/undone/valid flags of groups and commands.
#ifndef KY_UNDO_STATE_H
#define KY_UNDO_STATE_H

#include <Base/BaseExport.h>

namespace kyUndo {

/// The history flags shared by groups and commands: done or undone at least once, which of
/// the two came last, and validity. A new object is valid and neither done nor undone (bits
/// 16). Validity, once cleared, is never restored. Plain value; not synchronised.
class KY_BASE_API State {
public:
    /// The flag bits.
    enum Bits {
        kHasBeenDone = 1,   ///< done at least once
        kHasBeenUndone = 2, ///< undone at least once
        kLastWasDoIt = 4,   ///< the last operation was a do
        kLastWasUndoIt = 8, ///< the last operation was an undo
        kValid = 16         ///< not invalidated
    };

    bool hasBeenDone() const { return (bits_ & kHasBeenDone) != 0; }
    bool hasBeenUndone() const { return (bits_ & kHasBeenUndone) != 0; }
    bool lastWasDoIt() const { return (bits_ & kLastWasDoIt) != 0; }
    bool lastWasUndoIt() const { return (bits_ & kLastWasUndoIt) != 0; }
    bool isValid() const { return (bits_ & kValid) != 0; }
    /// All flag bits (a combination of `Bits`).
    int stateBits() const { return bits_; }

    /// Marks the object invalid for good: it will neither be done nor undone again.
    void stateInvalid() { bits_ &= ~kValid; }

protected:
    State() = default;
    State(const State&) = default;
    State& operator=(const State&) = default;
    ~State() = default;

    /// Records a do: sets "done once" and "last was do", clears "last was undo".
    void stateDone() { bits_ = (bits_ & ~kLastWasUndoIt) | kHasBeenDone | kLastWasDoIt; }
    /// Records an undo: sets "undone once" and "last was undo", clears "last was do".
    void stateUndone() { bits_ = (bits_ & ~kLastWasDoIt) | kHasBeenUndone | kLastWasUndoIt; }

private:
    int bits_ = kValid;
};

} // namespace kyUndo

#endif // KY_UNDO_STATE_H
