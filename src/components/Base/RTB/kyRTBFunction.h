// kyRTBFunction.h - kyRTB bound functions: the callbacks that signal connections own.
#ifndef KY_RTB_FUNCTION_H
#define KY_RTB_FUNCTION_H

#include <Base/BaseExport.h>

#include <utility>

namespace kyRTB {

/// Polymorphic base of every bound function. A signal connection owns one and deletes it when
/// the connection goes away. The queries let a signal find connections by the free function
/// or by the receiver instance they call; the call operation itself is declared by the
/// subclasses (`FunctionVoid::call()`, `FunctionArg<T>::call(T)`).
///
/// Function objects are small, copyable and assignable. Not synchronised; they never fail.
class KY_BASE_API FunctionBase {
public:
    FunctionBase() = default;
    FunctionBase(const FunctionBase&) = default;
    FunctionBase& operator=(const FunctionBase&) = default;
    virtual ~FunctionBase();

    /// True when this calls the free function `f` (cast to `void*`). False in the base.
    virtual bool isGlobalFunction(void* f) const;
    /// True when this calls a member function on the instance `p`. False in the base.
    virtual bool isInstance(void* p) const;
};

/// A bound function without argument (abstract).
class KY_BASE_API FunctionVoid : public FunctionBase {
public:
    ~FunctionVoid() override;
    /// Calls the bound function.
    virtual void call() = 0;
    void operator()() { call(); }
};

/// Calls a free function without arguments; `isGlobalFunction(f)` answers whether `f` is it.
class KY_BASE_API FunctionVoidGlobal : public FunctionVoid {
public:
    using Function = void (*)();

    explicit FunctionVoidGlobal(Function function) : function_(function) {}
    ~FunctionVoidGlobal() override;

    bool isGlobalFunction(void* f) const override;
    /// Calls the function; a null function is not called.
    void call() override;

    Function function() const { return function_; }

private:
    Function function_;
};

/// Calls a member function without arguments on a receiver instance; `isInstance(p)` answers
/// whether `p` is the receiver. The receiver is not owned.
template <class C>
class FunctionVoidMember : public FunctionVoid {
public:
    using Member = void (C::*)();

    FunctionVoidMember(C* instance, Member member) : instance_(instance), member_(member) {}

    bool isInstance(void* p) const override { return p == static_cast<void*>(instance_); }
    void call() override { (instance_->*member_)(); }

    C* instance() const { return instance_; }

private:
    C* instance_;
    Member member_;
};

/// Calls a copy of any callable without arguments (a lambda, a function object). It matches
/// neither a free function nor an instance: keep its connection to disconnect it.
template <class F>
class FunctionVoidCallable : public FunctionVoid {
public:
    explicit FunctionVoidCallable(F callable) : callable_(std::move(callable)) {}

    void call() override { callable_(); }

private:
    F callable_;
};

/// A bound function taking one argument of type `T` (abstract). `T` may be a reference type.
template <class T>
class FunctionArg : public FunctionBase {
public:
    using Argument = T;

    /// Calls the bound function with `arg`.
    virtual void call(T arg) = 0;
    void operator()(T arg) { call(std::forward<T>(arg)); }
};

/// Calls a free function taking one `T`; `isGlobalFunction(f)` answers whether `f` is it.
template <class T>
class FunctionArgGlobal : public FunctionArg<T> {
public:
    using Function = void (*)(T);

    explicit FunctionArgGlobal(Function function) : function_(function) {}

    bool isGlobalFunction(void* f) const override {
        return f == reinterpret_cast<void*>(function_);
    }
    void call(T arg) override {
        if (function_ != nullptr) {
            function_(std::forward<T>(arg));
        }
    }

private:
    Function function_;
};

/// Calls a copy of any callable taking one `T` (a lambda, a function object). It matches
/// neither a free function nor an instance: keep its connection to disconnect it.
template <class T, class F>
class FunctionArgCallable : public FunctionArg<T> {
public:
    explicit FunctionArgCallable(F callable) : callable_(std::move(callable)) {}

    void call(T arg) override { callable_(std::forward<T>(arg)); }

private:
    F callable_;
};

/// Calls a member function of `C` taking one `T` on a receiver instance (argument type first,
/// receiver class second). `isInstance(p)` answers whether `p` is the receiver, which is not
/// owned: disconnect before the receiver goes away, or tie the connection to a tracker signal
/// that the receiver owns (`SignalBase::addCallback(f, tracker)`).
template <class T, class C>
class FunctionArgMember : public FunctionArg<T> {
public:
    using Member = void (C::*)(T);

    FunctionArgMember(C* instance, Member member) : instance_(instance), member_(member) {}

    bool isInstance(void* p) const override { return p == static_cast<void*>(instance_); }
    void call(T arg) override { (instance_->*member_)(std::forward<T>(arg)); }

    C* instance() const { return instance_; }

private:
    C* instance_;
    Member member_;
};

} // namespace kyRTB

#endif // KY_RTB_FUNCTION_H
