#include "qbreport/watch/preview_maker.h"

#include <cstdint>
#include <map>
#include <new>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostItems = 50'000;  // that the page can show the origin of
constexpr std::size_t kMostPages = 10'000;

std::string inList(std::initializer_list<std::int64_t> numbers) {
    std::string list;
    for (const std::int64_t number : numbers) list += (list.empty() ? "" : ",") + std::to_string(number);
    return list;
}

// Where the controls of the template are on the pages.
class ItemMap {
public:
    static int add(void* context, const QBXShownItem* item) {
        static_cast<ItemMap*>(context)->add(*item);
        return 1;
    }
    // Pages without items are as large as the one before.
    void takeInto(PreviewAnswer& answer, std::uint64_t pages) {
        while (pageCount_ < pages && pageCount_ < kMostPages) addPage(size_);
        answer.pages = "[" + pages_ + "]";
        answer.controls = "[" + controls_ + "]";
        answer.items = "[" + items_ + "]";
    }

private:
    void addPage(const std::string& size) {
        size_ = size;
        pages_ += (pages_.empty() ? "[" : ",[") + size + "]";
        ++pageCount_;
    }
    void add(const QBXShownItem& item) {
        const std::string size = inList({item.pageWidth, item.pageHeight});
        while (pageCount_ + 1 < item.page && pageCount_ < kMostPages) addPage(size_);
        if (pageCount_ < item.page && pageCount_ < kMostPages) addPage(size);
        if (++itemCount_ > kMostItems) return;
        const auto [known, isNew] = numbers_.try_emplace({item.line, item.column}, numbers_.size());
        if (isNew) {
            controls_ += (controls_.empty() ? "[" : ",[") + inList({item.line, item.column}) + "," +
                         inJson(item.kind) + "," + inJson(item.content) + "]";
        }
        items_ += (items_.empty() ? "[" : ",[") +
                  inList({static_cast<std::int64_t>(item.page), item.x, item.y, item.width, item.height,
                          static_cast<std::int64_t>(known->second)}) +
                  "]";
    }

    std::map<std::pair<int, int>, std::size_t> numbers_;  // of controls, by their places
    std::string controls_;
    std::string items_;
    std::string pages_;
    std::string size_ = "210000,297000";  // of the last page
    std::size_t itemCount_ = 0;
    std::uint64_t pageCount_ = 0;
};

}  // namespace

PreviewAnswer PreviewMaker::load() {
    PreviewAnswer answer;
    auto loaded = std::make_unique<Loaded>();
    ItemMap map;
    try {
        Report& report = loaded->report;
        report.loadTemplate(options_.file);
        report.loadData(options_.data);
        const std::vector<std::string> missing = report.fieldsWithoutData(options_.data);
        if (!missing.empty()) {
            loaded->messages.write({Severity::Warning,
                                    "there are no data for " + listed(missing) + "; name a file with -d",
                                    options_.file});
        }
        report.run([&] { return QBXReportLocateItems(report.handle(), ItemMap::add, &map); });
        answer.isGood = true;
    } catch (const Failure& failure) {
        if (*failure.what() != '\0') loaded->messages.write({Severity::Error, failure.what()});
    }
    answer.messages = loaded->messages.json();
    for (const Item& item : loaded->report.items(QBXItemKind_File)) answer.files.push_back(item.value);
    if (!answer.isGood) return answer;
    map.takeInto(answer, QBXReportGetPageCount(loaded->report.handle()));
    good_ = std::move(loaded);
    return answer;
}

PreviewAnswer PreviewMaker::render(const PreviewRequest& request) {
    PreviewAnswer answer;
    if (good_ == nullptr) load();  // in a process that has replaced another one
    if (good_ == nullptr) return answer;
    good_->messages.forget();
    try {
        QBReportUnprepareExport(good_->report.handle());
        good_->report.prepare(request.format, request.options);
        const void* bytes = nullptr;
        std::uint64_t size = 0;
        good_->report.run([&] { return QBXReportExportToMemory(good_->report.handle(), &bytes, &size); });
        answer.document = {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
        answer.isGood = true;
    } catch (const Failure& failure) {
        if (*failure.what() != '\0') good_->messages.write({Severity::Error, failure.what()});
    }
    answer.messages = good_->messages.json();
    return answer;
}

PreviewAnswer PreviewMaker::make(const PreviewRequest& request) {
    try {
        return request.format.empty() ? load() : render(request);
    } catch (const std::bad_alloc&) {
        PreviewAnswer answer;
        answer.messages = asJson({Severity::Error, "out of memory"});
        return answer;
    }
}

void makePreviews(const WatchOptions& options, int socket) {
    PreviewMaker maker(options);
    std::string packet;
    while (receivePacket(socket, packet)) {
        const PreviewAnswer answer = maker.make(unpacked<PreviewRequest>(packet));
        if (!sendPacket(socket, packed(answer), answer.document)) return;
    }
}

}  // namespace qbreport
