#include "server/UserConfig.h"

#include "base/Base64.h"
#include "base/Failure.h"
#include "com/Immortal.h"
#include "server/Mutex.h"

namespace kzr::softkey {
namespace {

Mutex g_lock;
Immortal<Bytes> g_chain;
Immortal<Bytes> g_list;

// Base64 of any file that certificates come in, or the text of such a file itself.
Bytes BundleOf(const std::string& text)
{
    if (text.find("-----BEGIN") != std::string::npos) return Bytes(text.begin(), text.end());
    return Base64Decode(text);
}

template <class Read>
bool Set(Bytes& kept, const std::string& text, Read&& read)
{
    Bytes bundle;
    try {
        bundle = BundleOf(text);
        TrustStore trial;
        read(trial, bundle);
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) throw;
        return false;
    }
    const Hold held(g_lock);
    kept.swap(bundle);
    return true;
}

}  // namespace

bool UserConfig::SetChain(const std::string& text)
{
    return Set(*g_chain, text,
               [](TrustStore& trial, const Bytes& bundle) { trial.AddCertificates(bundle, false); });
}

bool UserConfig::SetRevocationList(const std::string& text)
{
    return Set(*g_list, text,
               [](TrustStore& trial, const Bytes& bundle) { trial.AddRevocationLists(bundle); });
}

void UserConfig::AddTo(TrustStore& trust)
{
    const Hold held(g_lock);
    if (!g_chain->empty()) trust.AddCertificates(*g_chain, false);
    if (!g_list->empty()) trust.AddRevocationLists(*g_list);
}

void UserConfig::Forget() noexcept
{
    const Hold held(g_lock);
    Bytes().swap(*g_chain);
    Bytes().swap(*g_list);
}

}  // namespace kzr::softkey
