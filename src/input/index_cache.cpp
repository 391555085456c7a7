#include "input/index_cache.h"

#include "input/index_file.h"
#include "tree/node_values.h"

namespace bv {

void IndexCache::Write(std::wstring_view source, int kind, const ByteBlock& index) {
    if (!node_) return;
    Bstr name = TextOf(node_.get()).value_or(Bstr());
    if (!IndexFile::IsSafeName(name.View())) {  // empty, or no name of ours
        GUID id;
        if (FAILED(CoCreateGuid(&id))) return;
        name = Bstr(GuidText(id).View());
        std::ignore = node_->put_Value(Lend(name.get()));
    }
    const auto fingerprint = Fingerprint(source);
    if (const IndexFile file(name.View()); file && fingerprint)
        std::ignore = file.Write(*fingerprint, kind, index);
}

bool IndexCache::Read(std::wstring_view source, int& kind, ByteBlock& index) const {
    const IndexFile file(TextOf(node_.get()).value_or(Bstr()).View());
    const auto fingerprint = Fingerprint(source);
    if (!file || !fingerprint) return false;
    const IndexFile::Reading reading = file.Read(*fingerprint, kind, index);
    if (reading == IndexFile::Reading::kStale) file.Delete();
    return reading != IndexFile::Reading::kMissing;
}

void IndexCache::Drop() {
    const Bstr name = TextOf(node_.get()).value_or(Bstr());
    if (name.empty()) return;
    if (const IndexFile file(name.View()); file) file.Delete();
    std::ignore = node_->put_Value(Lend(ConstBstr(L"").get()));
}

}  // namespace bv
