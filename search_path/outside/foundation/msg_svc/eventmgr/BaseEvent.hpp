#pragma once
// Events of the event bus. Every event names its type with a fully qualified
// name ("Thornfell::PathManagement::PathChangeEvent"), and subscribers
// subscribe to such a name; an event reaches the subscribers of its own type
// and of each type it is a kind of.
#include <boost/shared_ptr.hpp>

#include <string>

namespace foundation::msg_svc::eventmgr {

class BaseEvent {
public:
    virtual ~BaseEvent() = default;

    virtual const std::string& getTypeName() const = 0;
    // True for the event's own type name and for those of its base events.
    virtual bool isKindOf(const std::string& typeName) const { return typeName == getTypeName(); }
    virtual boost::shared_ptr<BaseEvent> clone() const = 0;
    // The level under which mangled subscriptions see the event.
    virtual const std::string& getLevel() const;
};

// Derives an event class from Base, supplies type name, isKindOf and clone.
// Usage: class MyEvent : public EventBase<MyEvent> { static const std::string& TypeName(); ... };
template <class Derived, class Base = BaseEvent>
class EventBase : public Base {
public:
    using Base::Base;
    const std::string& getTypeName() const override { return Derived::TypeName(); }
    bool isKindOf(const std::string& typeName) const override {
        return typeName == Derived::TypeName() || Base::isKindOf(typeName);
    }
    boost::shared_ptr<BaseEvent> clone() const override {
        return boost::shared_ptr<BaseEvent>(new Derived(static_cast<const Derived&>(*this)));
    }
};

// One subscription name for a type name at a level: "Type#Level".
std::string mangleEvent(const std::string& typeName, const std::string& level);

}  // namespace foundation::msg_svc::eventmgr
