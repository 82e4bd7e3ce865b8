// The Media SDK's dispatcher where the system has none: opens the run time that an implementation asks for, by name,
// and passes on the calls of the published class layer. A null session is answered by -6, as are all calls on it.
#include "platform/driver_names.h"
#include "platform/shared_library.h"

#include <mfx/mfxvideo++.h>

#include <initializer_list>
#include <memory>
#include <new>

#define MFX_YOUNGER_FUNCTION MFX_FUNCTION

namespace {

enum FunctionIndex {
#define MFX_FUNCTION(Name, Parameters, Arguments) kIndex_##Name,
#include "intel/dispatcher/mfx_functions.def"
#undef MFX_FUNCTION
    kFunctions
};

constexpr const char* kNames[] = {
#define MFX_FUNCTION(Name, Parameters, Arguments) #Name,
#include "intel/dispatcher/mfx_functions.def"
#undef MFX_FUNCTION
};
constexpr int kRequired = kIndex_MFXVideoCORE_QueryPlatform; // those before it

} // namespace

// What a session's handle points to.
struct _mfxSession {
    explicit _mfxSession(const char* pLibrary) : Library(pLibrary) {}

    platform::SharedLibrary Library;
    mfxSession RunTime = nullptr; // the run time's own handle
    void* pFunctions[kFunctions] = {};
};

namespace {

template <class Form>
Form* Symbol(const platform::SharedLibrary& Library, const char* pName)
{
    return reinterpret_cast<Form*>(Library.Symbol(pName));
}

bool Resolve(_mfxSession& Session)
{
    for (int i = 0; i < kFunctions; ++i) {
        Session.pFunctions[i] = Session.Library.Symbol(kNames[i]);
        if (!Session.pFunctions[i] && i < kRequired) return false;
    }
    return Symbol<decltype(MFXClose)>(Session.Library, "MFXClose") != nullptr;
}

mfxStatus Open(const char* pLibrary, mfxIMPL Implementation, mfxVersion* pVersion, mfxSession* pSession)
{
    std::unique_ptr<_mfxSession> pNew(new (std::nothrow) _mfxSession(pLibrary));
    if (!pNew) return MFX_ERR_MEMORY_ALLOC;
    auto* const pInit = Symbol<decltype(MFXInit)>(pNew->Library, "MFXInit");
    if (!pInit || !Resolve(*pNew)) return MFX_ERR_UNSUPPORTED;
    const mfxStatus Status = pInit(Implementation, pVersion, &pNew->RunTime);
    if (Status >= MFX_ERR_NONE) *pSession = pNew.release();
    return Status;
}

template <class Form, class... Arguments>
mfxStatus PassOn(mfxSession Session, FunctionIndex Index, Arguments... All)
{
    if (!Session) return MFX_ERR_INVALID_HANDLE;
    auto* const pFunction = reinterpret_cast<Form*>(Session->pFunctions[Index]);
    return pFunction ? pFunction(Session->RunTime, All...) : MFX_ERR_UNSUPPORTED;
}

// Of two sessions: they are never joined here.
mfxStatus Refuse(mfxSession Session) { return Session ? MFX_ERR_UNSUPPORTED : MFX_ERR_INVALID_HANDLE; }

} // namespace

#define MFX_UNPACK(...) __VA_OPT__(, ) __VA_ARGS__
#define MFX_FUNCTION(Name, Parameters, Arguments)                                                                      \
    mfxStatus MFX_CDECL Name Parameters                                                                                \
    {                                                                                                                  \
        return PassOn<mfxStatus MFX_CDECL Parameters>(Session, kIndex_##Name MFX_UNPACK Arguments);                    \
    }

extern "C" {

mfxStatus MFX_CDECL MFXInit(mfxIMPL impl, mfxVersion* ver, mfxSession* session)
{
    if (!ver || !session) return MFX_ERR_NULL_PTR;
    const mfxIMPL Kind = MFX_IMPL_BASETYPE(impl);
    mfxStatus Status = MFX_ERR_UNSUPPORTED;
    if (Kind != MFX_IMPL_SOFTWARE) Status = Open(platform::kMfxHardwareLibrary, impl, ver, session);
    if (Status >= MFX_ERR_NONE) return Status;
    if (Kind == MFX_IMPL_SOFTWARE || Kind == MFX_IMPL_AUTO || Kind == MFX_IMPL_AUTO_ANY)
        Status = Open(platform::kMfxSoftwareLibrary, impl, ver, session);
    return Status;
}

mfxStatus MFX_CDECL MFXInitEx(mfxInitParam par, mfxSession* session)
{
    return MFXInit(par.Implementation, &par.Version, session);
}

mfxStatus MFX_CDECL MFXClose(mfxSession session)
{
    if (!session) return MFX_ERR_INVALID_HANDLE;
    const std::unique_ptr<_mfxSession> pClosed(session);
    return Symbol<decltype(MFXClose)>(pClosed->Library, "MFXClose")(pClosed->RunTime);
}

mfxStatus MFX_CDECL MFXJoinSession(mfxSession session, mfxSession) { return Refuse(session); }
mfxStatus MFX_CDECL MFXCloneSession(mfxSession session, mfxSession*) { return Refuse(session); }

#include "intel/dispatcher/mfx_functions.def"
}
