// kyRTBSignal.h - kyRTB signals: synchronous callback lists with safe disconnection.
#ifndef KY_RTB_SIGNAL_H
#define KY_RTB_SIGNAL_H

#include <Base/BaseExport.h>
#include <Base/RTB/kyRTBFunction.h>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace kyRTB {

/// The untyped engine under every signal: a list of connections (newest first), each owning a
/// bound function (`FunctionBase`).
///
/// Emission walks the list from the newest connection to the oldest. Each connection is locked
/// while it is being called, so a callback may disconnect itself or any other connection,
/// connect new ones (they go to the head and are not reached by the running emission), emit
/// the same signal again, or even destroy the signal: destruction of a locked connection is
/// deferred to its last unlock, and nothing is copied per emission.
///
/// A connection can be tied to a second signal, a tracker that the receiver owns only for this
/// purpose (`addCallback(f, tracker)`): when either signal is destroyed, the connection
/// disappears from both. Receivers that hold one tracker need no bookkeeping of their own.
///
/// Ownership: a signal owns its connections, a connection its bound function. A receiver is
/// never owned. `Connection*` handles stay valid until the connection is destroyed; every
/// operation that takes one first looks it up in the list, so a handle of another signal or of
/// a connection already gone is ignored (and counts as blocked).
///
/// Threading: none. A signal and the signals tied to it are used from one thread; the lock
/// counts guard re-entrance during emission, not threads. Construction allocates nothing;
/// each connection costs two small allocations (the item and its function object).
class KY_BASE_API SignalBase {
public:
    /// One connection of a signal, handed out as `kyRTB::Connection*`. Made and destroyed by
    /// the signals; its operations may also be used directly.
    class KY_BASE_API connectionItem {
    public:
        connectionItem(const connectionItem&) = delete;
        connectionItem& operator=(const connectionItem&) = delete;

        /// Increments the lock count: the item's memory stays until the matching `unlock()`.
        void lock() { ++lockCount_; }
        /// Decrements the lock count; the last unlock completes a destruction requested while
        /// the item was locked. Unlocking an unlocked item does nothing.
        void unlock();
        /// Increments the block count: a blocked connection is skipped by emission.
        /// Saturates at 65535.
        void block();
        /// Decrements the block count; unblocking an unblocked connection does nothing.
        void unblock();
        /// True while the block count is above zero.
        bool isBlocked() const { return (state_ & kBlockMask) != 0; }
        /// Destroys the item and its partner: unlinked and freed now, or, while it is locked,
        /// marked destroyed and freed by its last unlock. The item must not be used after.
        void destroy();

        /// The bound function, null for the partner end of a tied connection.
        FunctionBase* callback() const { return callback_; }
        /// The signal whose list holds the item; null once detached.
        SignalBase* owner() const { return owner_; }
        /// The other end of a tied connection, or null.
        connectionItem* partner() const { return partner_; }
        /// The lock count, counting a running call of the item as one lock.
        unsigned lockCount() const { return lockCount_ + ((state_ & kCalling) != 0 ? 1u : 0u); }
        unsigned blockCount() const { return state_ & kBlockMask; }
        /// True when destruction was requested while the item was locked.
        bool isDestroyed() const { return (state_ & kDestroyed) != 0; }

    private:
        friend class SignalBase;

        connectionItem(FunctionBase* callback, SignalBase* owner)
            : callback_(callback), owner_(owner), state_(callback == nullptr ? kNoCallback : 0) {}
        ~connectionItem();
        void destroyPartner();
        bool isLocked() const { return lockCount_ > 0 || (state_ & kCalling) != 0; }

        // The item's state in one word: the block count in the low 16 bits, then flags. An
        // emission reads and writes the whole word, one load and one store on each side of
        // the call: a narrower store followed by a wider load of the same word would stall
        // the processor's store-to-load forwarding.
        static constexpr std::uint32_t kBlockMask = 0xFFFF;
        static constexpr std::uint32_t kDestroyed = 1u << 16;  // destruction waits for unlock
        static constexpr std::uint32_t kCalling = 1u << 17;    // an emission is calling it
        static constexpr std::uint32_t kNoCallback = 1u << 18; // the partner end of a tie

        connectionItem* next_ = nullptr; // toward older connections
        connectionItem* prev_ = nullptr; // toward newer connections; null for the head
        FunctionBase* callback_;         // owned; null for a partner item
        SignalBase* owner_;              // null once detached
        connectionItem* partner_ = nullptr;
        std::uint32_t state_;
        std::uint16_t lockCount_ = 0; // nested emissions and outside holders
    };

    /// Adds a connection owning `f` at the head of the list (it is called first from then on).
    /// A null `f` adds nothing and returns null.
    connectionItem* addCallback(FunctionBase* f);
    /// Destroys `c` if it is in this signal's list; anything else is ignored.
    void disconnect(connectionItem* c);
    /// Blocks `c` (one more `unblock` needed) if it is in the list; otherwise nothing.
    void block(connectionItem* c);
    /// Unblocks `c` by one if it is in the list; otherwise nothing.
    void unblock(connectionItem* c);
    /// True when `c` is blocked, and also when the list is empty or `c` is not in it: a
    /// connection unknown to this signal counts as blocked (kept on purpose).
    bool isBlocked(const connectionItem* c) const;
    /// The number of items in the list, including items that wait for their last unlock.
    int numConnections() const;
    /// True when the list is not empty.
    bool isConnected() const { return head_ != nullptr; }

protected:
    SignalBase() = default;
    /// A copy starts without connections: connections belong to the object they were made on.
    SignalBase(const SignalBase&) {}
    /// Assignment keeps this signal's own connections.
    SignalBase& operator=(const SignalBase&) { return *this; }
    /// Detaches and destroys every item (locked ones are freed by their last unlock) and the
    /// partner ends tied to them.
    ~SignalBase();

    /// Ties a connection owning `f` to `tracker`: a partner item without callback goes to the
    /// head of the tracker's list, the item owning `f` to the head of this list. Destroying
    /// either signal, or either item, removes both. A null `f` adds nothing; a null tracker,
    /// or this signal itself, gives an untied connection.
    connectionItem* addCallback(FunctionBase* f, SignalBase* tracker);
    /// Destroys every connection whose callback answers `isInstance(p)`.
    void disconnectInstance(void* p);
    /// The first connection from the head whose callback answers `isGlobalFunction(f)`.
    connectionItem* findGlobalCallback(void* f) const;
    /// The first connection from the head whose callback answers `isInstance(p)` and that is
    /// not waiting for its destruction; null if none.
    connectionItem* findInstance(void* p) const;

    /// The emission loop of every typed signal: calls `invoke(callback)` for each connection
    /// from the newest to the oldest, skipping blocked ones and ones destroyed meanwhile.
    ///
    /// An item being called is marked with a flag that the emission sets and clears (plain
    /// stores, no count to read back), so that a connection called once per emission costs
    /// a few predictable branches besides its call. Only an item that is already being called
    /// (the signal emitted again from one of its callbacks) takes a lock count.
    template <class Invoke>
    void emitEach(const Invoke& invoke) {
        connectionItem* item = head_;
        while (item != nullptr) {
            connectionItem* next;
            const std::uint32_t state = item->state_;
            if (state == 0) {
                // Not blocked, not destroyed, not being called, with a callback: the common
                // case, one word checked and written on each side of the call.
                item->state_ = connectionItem::kCalling;
                invoke(item->callback_);
                // Read after the call: a connection disconnected meanwhile is already
                // unlinked, and this one stays linked while it is being called.
                next = item->next_;
                const std::uint32_t after = item->state_ & ~connectionItem::kCalling;
                item->state_ = after;
                if ((after & connectionItem::kDestroyed) != 0 && item->lockCount_ == 0) {
                    item->destroy();
                }
            } else if ((state & connectionItem::kCalling) == 0) {
                // Blocked, waiting for its destruction, or the partner end of a tie: passed
                // over.
                next = item->next_;
            } else {
                ++item->lockCount_;
                if ((state & (connectionItem::kBlockMask | connectionItem::kDestroyed |
                              connectionItem::kNoCallback)) == 0) {
                    invoke(item->callback_);
                }
                next = item->next_;
                // The outer call still holds the item: it completes a destruction.
                --item->lockCount_;
            }
            item = next;
        }
    }

private:
    connectionItem* find(const connectionItem* c) const;
    void link(connectionItem* item);

    connectionItem* head_ = nullptr;
};

/// A connection of a signal (see `SignalBase::connectionItem`).
using Connection = SignalBase::connectionItem;

/// Marker base of signals that their owners deliver later rather than at once; it adds nothing
/// but a virtual destructor.
class KY_BASE_API AsyncSignal {
public:
    AsyncSignal() = default;
    AsyncSignal(const AsyncSignal&) = default;
    AsyncSignal& operator=(const AsyncSignal&) = default;
    virtual ~AsyncSignal();
};

/// A signal whose callbacks take one argument of type `T` (a value, pointer or reference
/// type), a thin template over `SignalBase`. `Signal<>` (that is, `Signal<void>`) takes none.
/// Callbacks are free functions, member functions of a receiver (optionally tied to the
/// receiver's tracker signal), callables such as lambdas, or any `FunctionArg<T>`.
///
/// @code
///   struct Counter {
///       int total = 0;
///       kyRTB::Signal<> tracker; // cuts tied connections when the counter goes away
///       void add(int n) { total += n; }
///   };
///
///   kyRTB::Signal<int> changed;
///   Counter counter;
///   kyRTB::Connection* c = changed.connect(&counter, &Counter::add);
///   changed.emit(2);          // counter.total == 2
///   changed.block(c);
///   changed.emit(5);          // skipped: blocked
///   changed.unblock(c);
///   changed.disconnect(c);
///   {
///       Counter temporary;
///       changed.connect(&temporary, &Counter::add, temporary.tracker);
///       changed.emit(1);      // temporary.total == 1
///   }                         // temporary's tracker removed its connection
/// @endcode
///
/// Ownership, threading and failure rules are those of `SignalBase`; connecting a null
/// function or receiver returns null and adds nothing.
template <class T = void>
class Signal : public SignalBase {
    static_assert(!std::is_rvalue_reference_v<T>, "every callback gets the argument in turn");

public:
    using Function = FunctionArg<T>;

private:
    // Callables other than plain function pointers, which have their own overload.
    template <class F>
    static constexpr bool kIsCallable =
        std::is_invocable_v<std::decay_t<F>&, T> && !std::is_pointer_v<std::decay_t<F>> &&
        !std::is_convertible_v<F, Function*>;

public:
    // User-provided, so that Signal is never an aggregate: `Signal<> s{};` must call this.
    Signal() {}
    Signal(const Signal& other) = default;
    Signal& operator=(const Signal& other) = default;
    ~Signal() = default;

    /// Adds a connection owning `function`.
    Connection* addCallback(Function* function) { return SignalBase::addCallback(function); }
    /// Adds a connection owning `function`, tied to `tracker` (see `SignalBase`).
    Connection* addCallback(Function* function, SignalBase& tracker) {
        return SignalBase::addCallback(function, &tracker);
    }

    /// Connects a free function.
    Connection* connect(void (*function)(T)) {
        return function == nullptr ? nullptr : addCallback(new FunctionArgGlobal<T>(function));
    }
    /// Connects a copy of a callable taking a `T` (a lambda or function object); disconnect
    /// it through the returned connection.
    template <class F, class = std::enable_if_t<kIsCallable<F>>>
    Connection* connect(F&& callable) {
        return addCallback(new FunctionArgCallable<T, std::decay_t<F>>(std::forward<F>(callable)));
    }
    /// Connects a member function of `receiver`; disconnect it before `receiver` goes away.
    template <class C>
    Connection* connect(C* receiver, void (C::*member)(T)) {
        if (receiver == nullptr || member == nullptr) {
            return nullptr;
        }
        return addCallback(new FunctionArgMember<T, C>(receiver, member));
    }
    /// Connects a member function of `receiver`, tied to `tracker`, a signal that the receiver
    /// owns: destroying the receiver (and so its tracker) removes the connection.
    template <class C>
    Connection* connect(C* receiver, void (C::*member)(T), SignalBase& tracker) {
        if (receiver == nullptr || member == nullptr) {
            return nullptr;
        }
        return addCallback(new FunctionArgMember<T, C>(receiver, member), tracker);
    }

    using SignalBase::disconnect;
    /// Disconnects the newest connection of the free function `function`, if any.
    void disconnect(void (*function)(T)) { SignalBase::disconnect(find(function)); }
    /// Disconnects every connection whose receiver is `receiver`.
    using SignalBase::disconnectInstance;
    /// The newest live connection whose receiver is `receiver`, or null.
    using SignalBase::findInstance;
    /// The newest connection of the free function `function`, or null.
    Connection* find(void (*function)(T)) const {
        return findGlobalCallback(reinterpret_cast<void*>(function));
    }

    /// Calls every unblocked connection with `arg`, newest first.
    void emit(T arg) {
        emitEach([&arg](FunctionBase* f) { static_cast<Function*>(f)->call(arg); });
    }
    void operator()(T arg) { emit(arg); }
};

/// A signal whose callbacks take no argument.
template <>
class Signal<void> : public SignalBase {
public:
    using Function = FunctionVoid;

private:
    template <class F>
    static constexpr bool kIsCallable =
        std::is_invocable_v<std::decay_t<F>&> && !std::is_pointer_v<std::decay_t<F>> &&
        !std::is_convertible_v<F, Function*>;

public:
    // User-provided, so that Signal is never an aggregate: `Signal<> s{};` must call this.
    Signal() {}
    Signal(const Signal& other) = default;
    Signal& operator=(const Signal& other) = default;
    ~Signal() = default;

    /// Adds a connection owning `function`.
    Connection* addCallback(Function* function) { return SignalBase::addCallback(function); }
    /// Adds a connection owning `function`, tied to `tracker` (see `SignalBase`).
    Connection* addCallback(Function* function, SignalBase& tracker) {
        return SignalBase::addCallback(function, &tracker);
    }

    /// Connects a free function.
    Connection* connect(void (*function)()) {
        return function == nullptr ? nullptr : addCallback(new FunctionVoidGlobal(function));
    }
    /// Connects a copy of a callable without arguments (a lambda or function object);
    /// disconnect it through the returned connection.
    template <class F, class = std::enable_if_t<kIsCallable<F>>>
    Connection* connect(F&& callable) {
        return addCallback(new FunctionVoidCallable<std::decay_t<F>>(std::forward<F>(callable)));
    }
    /// Connects a member function of `receiver`; disconnect it before `receiver` goes away.
    template <class C>
    Connection* connect(C* receiver, void (C::*member)()) {
        if (receiver == nullptr || member == nullptr) {
            return nullptr;
        }
        return addCallback(new FunctionVoidMember<C>(receiver, member));
    }
    /// Connects a member function of `receiver`, tied to `tracker`, a signal that the receiver
    /// owns: destroying the receiver (and so its tracker) removes the connection.
    template <class C>
    Connection* connect(C* receiver, void (C::*member)(), SignalBase& tracker) {
        if (receiver == nullptr || member == nullptr) {
            return nullptr;
        }
        return addCallback(new FunctionVoidMember<C>(receiver, member), tracker);
    }

    using SignalBase::disconnect;
    /// Disconnects the newest connection of the free function `function`, if any.
    void disconnect(void (*function)()) { SignalBase::disconnect(find(function)); }
    /// Disconnects every connection whose receiver is `receiver`.
    using SignalBase::disconnectInstance;
    /// The newest live connection whose receiver is `receiver`, or null.
    using SignalBase::findInstance;
    /// The newest connection of the free function `function`, or null.
    Connection* find(void (*function)()) const {
        return findGlobalCallback(reinterpret_cast<void*>(function));
    }

    /// Calls every unblocked connection, newest first.
    void emit() {
        emitEach([](FunctionBase* f) { static_cast<Function*>(f)->call(); });
    }
    void operator()() { emit(); }
};

} // namespace kyRTB

#endif // KY_RTB_SIGNAL_H
