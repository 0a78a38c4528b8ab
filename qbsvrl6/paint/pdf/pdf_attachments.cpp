#include "qbsvrl6/paint/pdf/pdf_attachments.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "qbsvrl6/paint/pdf/md5.h"
#include "qbsvrl6/paint/pdf/pdf_metadata.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

std::string_view nameOf(AttachmentRelation relation) {
    switch (relation) {
        case AttachmentRelation::Data:
            return "Data";
        case AttachmentRelation::Source:
            return "Source";
        case AttachmentRelation::Alternative:
            return "Alternative";
        case AttachmentRelation::Supplement:
            return "Supplement";
        case AttachmentRelation::Unspecified:
            break;
    }
    return "Unspecified";
}

// The MIME type as a name, in which "/" is written as its code.
std::string typeName(const Attachment& attachment) {
    static constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {".csv", "text/csv"},          {".html", "text/html"},      {".jpg", "image/jpeg"},
        {".json", "application/json"}, {".pdf", "application/pdf"}, {".png", "image/png"},
        {".txt", "text/plain"},        {".xml", "text/xml"}};
    std::string type = toUtf8(attachment.type);
    if (type.empty()) {
        const std::string name = toUtf8(lowerCase(attachment.name));
        const auto* const known = std::find_if(std::begin(kTypes), std::end(kTypes), [&](const auto& entry) {
            return name.ends_with(entry.first);
        });
        type = known == std::end(kTypes) ? "application/octet-stream" : known->second;
    }
    std::string escaped;
    for (const char c : type) escaped += c == '/' ? "#2F" : std::string(1, c);
    return escaped;
}

int writeFile(PdfFile& file, const PdfAttachment& attachment) {
    const Attachment& settings = attachment.settings;
    ByteBuffer entries;
    entries.add(std::string_view("/Type/EmbeddedFile/Subtype/"), std::string_view(typeName(settings)),
                std::string_view("/Params<</Size "), static_cast<std::int64_t>(attachment.bytes.size()),
                std::string_view("/CheckSum<"));
    for (const char byte : md5(attachment.bytes)) appendHex(entries, static_cast<unsigned char>(byte), 2);
    entries.append('>');
    if (!settings.modified.empty()) {
        entries.add(std::string_view("/ModDate("), std::string_view(pdfDate(settings.modified)), ')');
    }
    entries.append(std::string_view(">>"));
    const int stream = file.reserve();
    file.writeStream(stream, entries.view(), attachment.bytes);
    ByteBuffer fileEntry;
    fileEntry.append(std::string_view("<</Type/Filespec/F"));
    appendTextString(fileEntry, settings.name);
    fileEntry.append(std::string_view("/UF"));
    appendTextString(fileEntry, settings.name);
    if (!settings.description.empty()) {
        fileEntry.append(std::string_view("/Desc"));
        appendTextString(fileEntry, settings.description);
    }
    fileEntry.add(std::string_view("/AFRelationship/"), nameOf(settings.relation),
                  std::string_view("/EF<</F "), std::int64_t{stream}, std::string_view(" 0 R/UF "),
                  std::int64_t{stream}, std::string_view(" 0 R>>>>"));
    const int number = file.reserve();
    file.writeObject(number, fileEntry.view());
    return number;
}

}  // namespace

PdfAttachmentEntries writeAttachments(PdfFile& file, const std::vector<PdfAttachment>& attachments) {
    if (attachments.empty()) return {};
    // The tree of names is sorted by its keys; the associated files are in the order of the template.
    std::vector<std::pair<std::string, int>> names;
    std::string associated;
    for (const PdfAttachment& attachment : attachments) {
        const int number = writeFile(file, attachment);
        names.emplace_back(toUtf8(attachment.settings.name), number);
        associated += std::to_string(number) + " 0 R ";
    }
    std::sort(names.begin(), names.end());
    ByteBuffer tree;
    for (const auto& [name, number] : names) {
        appendByteString(tree, name);
        tree.add(std::int64_t{number}, std::string_view(" 0 R"));
    }
    return {"/AF[" + associated + "]", "/EmbeddedFiles<</Names[" + std::string(tree.view()) + "]>>"};
}

}  // namespace qbsvrl6
