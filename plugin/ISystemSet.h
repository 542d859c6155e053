#pragma once

// The settings screen's public interface: what a host program needs to load the library at run time and
// drive the screen. Nothing else of the library is visible from here.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <typeindex>
#include <typeinfo>

class QQmlEngine;
class QQuickItem;

/// The settings screen, as a host drives it.
class ISystemSet
{
public:
    /// Builds the screen in the host's @p engine for a screen of @p width x @p height pixels, with popups at
    /// z value @p popupZ, and returns its root item for the host to place in its scene (null on failure).
    virtual QQuickItem *init(QQmlEngine *engine, int width, int height, int popupZ) = 0;
    /// Shows the screen.
    virtual void open() = 0;
    /// Hides the screen.
    virtual void close() = 0;

protected:
    ~ISystemSet() = default;
};

namespace Plexa {

/// Factories of a plug-in's objects, keyed by the interface they implement.
class PluginRegistry
{
public:
    using Factory = std::function<std::shared_ptr<void>()>;

    /// Registers @p Impl as the maker of @p Interface objects.
    template<class Impl, class Interface>
    void RegisterPlugin()
    {
        m_factories[std::type_index(typeid(Interface))] = [] {
            std::shared_ptr<Interface> object = std::make_shared<Impl>();
            return std::shared_ptr<void>(object, object.get());
        };
    }

    /// A new object implementing @p Interface, or null when no factory is registered for it.
    template<class Interface>
    std::shared_ptr<Interface> create() const
    {
        const auto it = m_factories.find(std::type_index(typeid(Interface)));
        if (it == m_factories.end())
            return nullptr;
        return std::static_pointer_cast<Interface>(it->second());
    }

    const std::map<std::type_index, Factory> &factories() const { return m_factories; }

private:
    std::map<std::type_index, Factory> m_factories;
};

} // namespace Plexa

extern "C" {
/// Makes a new registry holding the settings screen's factory.
__attribute__((visibility("default"))) Plexa::PluginRegistry *PlexaGetInstance();
/// Frees the registry the last PlexaGetInstance() made; objects already made live on.
__attribute__((visibility("default"))) void PlexaCloseInstance();
/// -1 for any non-null @p data, 0 for null.
__attribute__((visibility("default"))) std::int32_t PlexaQueryData(void *data);
}

using PlexaGetInstanceFn = Plexa::PluginRegistry *(*)();
using PlexaCloseInstanceFn = void (*)();
using PlexaQueryDataFn = std::int32_t (*)(void *);
