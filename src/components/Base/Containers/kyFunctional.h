// kyFunctional.h - comparison and equality functors used by the typed containers.
#ifndef KY_CONTAINERS_FUNCTIONAL_H
#define KY_CONTAINERS_FUNCTIONAL_H

namespace ky {

/// Strict weak ordering by `operator<`; the default comparator of the ordered containers.
/// Comparators of the typed containers are stateless: the containers default-construct them
/// wherever a comparison is needed.
template <class T = void>
struct less {
    constexpr bool operator()(const T& a, const T& b) const { return a < b; }
};

/// Transparent form: compares any two operands with `operator<`.
template <>
struct less<void> {
    template <class A, class B>
    constexpr bool operator()(const A& a, const B& b) const {
        return a < b;
    }
};

/// Equality by `operator==`; the default key equality of the hash containers.
template <class T = void>
struct equal_to {
    constexpr bool operator()(const T& a, const T& b) const { return a == b; }
};

template <>
struct equal_to<void> {
    template <class A, class B>
    constexpr bool operator()(const A& a, const B& b) const {
        return a == b;
    }
};

} // namespace ky

#endif // KY_CONTAINERS_FUNCTIONAL_H
