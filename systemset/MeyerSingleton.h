#pragma once

/// Process-wide object as a function-local static: made on the first instance() call (thread-safe as the
/// language guarantees) and destroyed at process exit.
///
/// Used as a second, polymorphic base of the global objects (GlobalInfo, VkbManager) and directly, as
/// MeyerSingleton<HMI::SystemSet>::instance(), for the system services.
template<typename T>
class __attribute__((visibility("default"))) MeyerSingleton
{
public:
    static T &instance()
    {
        static T s_instance;
        return s_instance;
    }

    virtual ~MeyerSingleton() = default;

protected:
    MeyerSingleton() = default;
    MeyerSingleton(const MeyerSingleton &) = delete;
    MeyerSingleton &operator=(const MeyerSingleton &) = delete;
};
