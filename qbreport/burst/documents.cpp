#include "qbreport/burst/documents.h"

#include <algorithm>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostData = std::size_t{1} << 30;  // of one document

// The first byte of a part of `size` bytes: size * part / parts, without overflow.
std::uint64_t beginOf(std::uint64_t size, std::uint64_t part, std::uint64_t parts) {
    return size / parts * part + size % parts * part / parts;
}

// FNV-1a: the same on every machine.
std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return hash;
}

}  // namespace

std::string Shard::suffix() const {
    return isWhole() ? "" : "." + std::to_string(number) + "-of-" + std::to_string(count);
}

Documents::Documents(const DocumentSource& from, const Shard& shard, Digest* digest)
    : from_(from), shard_(shard), rows_(openRows(*from_.source, from_.kind, from_.columns.names, digest)) {
    const std::uint64_t size = from_.source->size();
    begin_ = from_.isKeyList ? 0 : beginOf(size, shard.number - 1, shard.count);
    end_ = from_.isKeyList || shard.number == shard.count ? UINT64_MAX
                                                          : beginOf(size, shard.number, shard.count);
    if (begin_ > 0) rows_->seekBefore(begin_);
    hasRow_ = rows_->next(row_);
}

bool Documents::next(Document& document) {
    while (hasRow_ && (from_.isKeyList || row_.offset < end_)) {
        if (!readDocument(document)) return false;
        if (isOfShard(document)) return true;
    }
    return false;
}

bool Documents::isOfShard(const Document& document) const {
    if (!from_.isKeyList) return document.at >= begin_;
    return hashOf(document.key) % shard_.count == shard_.number - 1;
}

bool Documents::readDocument(Document& document) {
    begin(document);
    do {
        add(document);
        hasRow_ = rows_->next(row_);
    } while (hasRow_ && !from_.isKeyList && row_.values[from_.columns.key] == document.key);
    return true;
}

void Documents::begin(Document& document) {
    document.key = row_.values[from_.columns.key];
    document.at = from_.isKeyList ? count_ : row_.offset;
    document.line = row_.line;
    document.rows = 0;
    document.total = Decimal();
    document.values = row_.values;
    document.data.clear();
    ++count_;
    if (!document.key.empty()) return;
    const std::string& name = from_.columns.names[from_.columns.key];
    const std::vector<std::string> names = rows_->columns();
    const bool isKnown = std::find(names.begin(), names.end(), name) != names.end();
    throw Failure(placeOf(document) + ": this row has no value of \"" + name +
                  "\", so it belongs to no document" + (isKnown ? "" : suggestion(name, names, "columns")));
}

void Documents::add(Document& document) {
    ++document.rows;
    if (from_.columns.hasTotal) {
        const std::string& text = row_.values[from_.columns.total];
        Decimal amount;
        if (!amount.read(text) || !document.total.add(amount)) {
            throw Failure(qbreport::placeOf(*from_.source, row_.offset, row_.line) + ": the " +
                          from_.columns.names[from_.columns.total] + " \"" + text +
                          "\" is no decimal number of at most 38 digits, so there is no total");
        }
    }
    document.data += row_.bytes;
    if (!document.data.ends_with('\n') && !document.data.ends_with('\r')) document.data += '\n';
    if (document.data.size() > kMostData) {
        throw Failure(placeOf(document) + ": the rows of \"" + document.key + "\" are more than " +
                      shownSize(kMostData));
    }
}

double Documents::share() const {
    const auto size = static_cast<double>(std::max<std::uint64_t>(from_.source->size(), 1));
    return hasRow_ ? static_cast<double>(row_.offset) / size : 1;
}

std::string Documents::placeOf(const Document& document) const {
    return qbreport::placeOf(*from_.source, document.at, document.line);
}

}  // namespace qbreport
