// What a machine description says, as plain data.
#pragma once

#include "Simulator/Cim/CimModel.h"
#include "Simulator/Description/Site.h"

#include <windows.h>

#include <rpc.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zv::Simulator
{

struct ClassEntry
{
    ClassPtr definition;
    std::vector<ObjectPtr> instances; // as the machine starts; in the order of the description
};

struct Namespace
{
    std::wstring path; // without server, separated by single backslashes
    std::vector<ClassEntry> classes;
};

struct Setting
{
    std::wstring name;
    std::wstring value; // as the machine starts
    std::wstring initial;
    std::vector<std::wstring> allowed; // empty: anything
    bool readOnly = false;
};

// The firmware's settings and what the settings methods return.
struct Settings
{
    std::wstring password; // empty: no setup password is set, any password does
    std::int64_t success = 0;
    std::int64_t unknownName = 1;
    std::int64_t invalidValue = 5;
    std::int64_t wrongPassword = 6;
    std::vector<Setting> items;
    ClassPtr shownAs; // class that has one instance per setting; null when settings are not shown
};

struct ScheduledEvent
{
    DWORD at = 0;       // milliseconds after the first subscription
    DWORD every = 0;    // then again after so many milliseconds
    unsigned times = 1; // 0: until the machine goes
    unsigned burst = 1; // events at once, delivered by all delivery threads together
    ObjectPtr event;
};

struct Events
{
    ClassPtr definition; // null: the machine has no firmware events
    std::wstring idName = L"EventID";
    std::wstring dataName = L"EventData";
    unsigned deliveryThreads = 4;
    std::vector<ScheduledEvent> schedule;
};

// A call that goes wrong.
struct Fault
{
    Site site{};
    std::wstring about;    // class, namespace, method or property that the call is about; empty: any
    unsigned first = 1;    // the how manieth fitting call is the first to fail
    unsigned count = 1;    // how many fail; 0: all from there on
    HRESULT status = S_OK; // what is returned; a success code lets the call do its work (after a delay)
    DWORD delay = 0;       // milliseconds before that
    bool hang = false;     // waits until the machine goes or its hanging calls are let go
    bool done = false;     // the call does its work before it fails
    bool empty = false;    // the call succeeds with that status, and hands out nothing
};

// Who is signed in at the console.
struct Session
{
    bool signedIn = false;
    DWORD id = 1;
    std::wstring user;
    std::wstring profile; // folder, for example C:\Users\Robin
    std::vector<std::pair<std::wstring, std::wstring>> environment;
    bool sessionApi = true; // the session API set is present
};

struct PackageName
{
    std::wstring fullName;
    std::uint32_t properties = 0;
    std::wstring folder;
    std::optional<std::int32_t> origin; // a PackageOrigin value; none: the package is not staged
    std::uint64_t version = 0;          // packed: Major.Minor.Build.Revision, 16 bits each
};

struct Package
{
    std::wstring family;
    std::vector<PackageName> fullNames; // in the order in which the system names them
    std::wstring alias;                 // file name of the execution alias
    std::wstring executable;            // a real program to start in its place; may be empty
};

// What the process that uses the machine has told COM about itself.
struct ProcessSecurity
{
    // How far servers may act as the process: what its CoInitializeSecurity has set, and where proxies start.
    DWORD impersonation = RPC_C_IMP_LEVEL_IMPERSONATE;
};

struct Description
{
    std::wstring name;
    std::wstring server = L"SIMULATED";
    std::vector<Namespace> namespaces; // parents included
    std::vector<unsigned> ruleLimits;  // per Rule::id, how often it may answer; 0: always
    std::optional<Settings> settings;
    Events events;
    std::vector<Fault> faults;
    ProcessSecurity security;
    Session session;
    std::vector<Package> packages;

    // Null when there is none. The path is one that was normalised before.
    [[nodiscard]] const Namespace* FindNamespace(std::wstring_view path) const noexcept;
};

// Throws DescriptionError.
[[nodiscard]] Description ReadDescription(std::string_view json);

} // namespace Zv::Simulator
