#include "qbsvrl6/sheet/xls/shared_texts.h"

#include <algorithm>

#include "qbsvrl6/sheet/xls/biff.h"
#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

namespace {

bool isNarrow(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x100; });
}

void appendUnits(std::string& out, std::u16string_view text, bool narrow) {
    if (narrow) {
        for (const char16_t unit : text) out += static_cast<char>(unit);
    } else {
        ByteWriter(out).utf16(text);
    }
}

// A text consists of its length, a flag (1: two bytes per unit) and its units. If it does not fit in the
// current record, it begins in the next one; if it is longer than any record, it is cut between units, and
// each part after the first begins with the flag.
class TableWriter {
public:
    TableWriter(std::string& out, std::uint32_t uses, std::size_t count) : out_(out), start_(out.size()) {
        ByteWriter(out_).put(biff::kSst, std::uint16_t{0}, uses, static_cast<std::uint32_t>(count));
    }
    ~TableWriter() { endRecord(); }
    TableWriter(const TableWriter&) = delete;
    TableWriter& operator=(const TableWriter&) = delete;

    void add(std::u16string_view text) {
        const bool narrow = isNarrow(text);
        const std::size_t unitBytes = narrow ? 1 : 2;
        const std::size_t size = 3 + unitBytes * text.size();
        const std::size_t wanted = size <= biff::kMaxRecord ? size : 3 + unitBytes;
        if (room() < wanted) nextRecord();
        ByteWriter(out_).put(static_cast<std::uint16_t>(text.size()),
                             static_cast<std::uint8_t>(narrow ? 0 : 1));
        while (true) {
            const std::size_t count = std::min(text.size(), room() / unitBytes);
            appendUnits(out_, text.substr(0, count), narrow);
            text.remove_prefix(count);
            if (text.empty()) return;
            nextRecord();
            out_ += static_cast<char>(narrow ? 0 : 1);
        }
    }

private:
    std::size_t room() const { return biff::kMaxRecord - (out_.size() - start_ - 4); }

    void endRecord() {
        const auto length = static_cast<std::uint16_t>(out_.size() - start_ - 4);
        std::memcpy(out_.data() + start_ + 2, &length, sizeof length);
    }
    void nextRecord() {
        endRecord();
        start_ = out_.size();
        ByteWriter(out_).put(biff::kContinue, std::uint16_t{0});
    }

    std::string& out_;
    std::size_t start_;  // of the current record
};

}  // namespace

void putLongRecord(std::string& out, std::uint16_t number, std::string_view bytes) {
    do {
        BiffRecord(out, number).bytes(bytes.substr(0, biff::kMaxRecord));
        bytes.remove_prefix(std::min(bytes.size(), biff::kMaxRecord));
        number = biff::kContinue;
    } while (!bytes.empty());
}

SharedTexts::SharedTexts() : slots_(1024) {}

std::uint32_t SharedTexts::add(std::u16string_view text) {
    ++uses_;
    const std::uint64_t hash = KeyedHash()(text);
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const Entry& entry = entries_[slots_[slot] - 1];
        if (entry.hash == hash && textOf(entry) == text) return slots_[slot] - 1;
    }
    entries_.push_back({hash, units_.size(), static_cast<std::uint32_t>(text.size())});
    units_.append(text);
    slots_[slot] = static_cast<std::uint32_t>(entries_.size());
    if (entries_.size() * 2 > slots_.size()) grow();
    return static_cast<std::uint32_t>(entries_.size()) - 1;
}

void SharedTexts::grow() {
    std::vector<std::uint32_t> slots(slots_.size() * 2);
    const std::size_t mask = slots.size() - 1;
    for (const std::uint32_t number : slots_) {
        if (number == 0) continue;
        std::size_t slot = entries_[number - 1].hash & mask;
        while (slots[slot] != 0) slot = (slot + 1) & mask;
        slots[slot] = number;
    }
    slots_ = std::move(slots);
}

std::uint32_t SharedTexts::reserve() {
    ++uses_;
    entries_.push_back({});
    return static_cast<std::uint32_t>(entries_.size()) - 1;
}

void SharedTexts::set(std::uint32_t number, std::u16string_view text) {
    entries_[number].start = units_.size();
    entries_[number].length = static_cast<std::uint32_t>(text.size());
    units_.append(text);
}

void SharedTexts::write(std::string& out) const {
    TableWriter table(out, uses_, entries_.size());
    for (const Entry& entry : entries_) table.add(textOf(entry));
}

}  // namespace qbsvrl6
