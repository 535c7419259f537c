#pragma once
// Exception bases of the environment. A type that only means what it is
// called derives from Exception<IInternalException, std::exception, void>.
#include <exception>

namespace foundation::core::except {

// Marker interfaces: a handler can catch every exception of the environment,
// or only the internal ones, whatever standard base they have.
class IException {
public:
    virtual ~IException() = default;
};

class IInternalException : public virtual IException {};

template <class Interface, class StdBase, class Extra>
class Exception : public StdBase, public Interface {
public:
    using StdBase::StdBase;
};

}  // namespace foundation::core::except
