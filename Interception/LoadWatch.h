// Reaching a module before its own initialisation runs.
#pragma once

#include <windows.h>

#include <exception>
#include <functional>
#include <string>

namespace Zv::Interception
{

// While it lives, `onLoad` is called once for each load of a DLL of that file name, when its imports are resolved and
// none of its code has run: what the module asks of the platform when it starts can be redirected there. The call is
// made on the loading thread under the loader's lock, so it must not wait for other threads. What it throws is kept for
// Rethrow.
class LoadWatch
{
public:
    // Throws std::runtime_error where the platform does not tell of loads.
    LoadWatch(std::wstring fileName, std::function<void(HMODULE module)> onLoad);
    LoadWatch(const LoadWatch&) = delete;
    LoadWatch& operator=(const LoadWatch&) = delete;
    ~LoadWatch();

    // To be called after the load, on the thread that loaded.
    void Rethrow();

private:
    struct Notification;
    static void CALLBACK Notify(ULONG reason, const Notification* notification, void* self) noexcept;
    void Loaded(HMODULE module) noexcept;

    const std::wstring m_fileName;
    const std::function<void(HMODULE)> m_onLoad;
    std::exception_ptr m_failure; // written and read under the loader's lock or after the load
    void* m_cookie = nullptr;
};

} // namespace Zv::Interception
