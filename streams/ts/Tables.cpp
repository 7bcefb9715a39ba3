#include <qlx/streams/ts/tables.h>

#include <algorithm>

namespace qlx::streams::ts {

namespace {

/// Bytes of a section of these tables at most.
constexpr std::size_t kGreatestTableBytes = 1024;
/// table_id, length, extension, version, numbers.
constexpr std::size_t kTableHeaderBytes = 8;
constexpr std::size_t kGreatestDescriptorBytes = 255;

Finding tableWrong(std::uint64_t offset, std::uint64_t tableId, std::uint64_t place) {
    return {FindingCode::TsTableWrong, Severity::Error, offset, static_cast<std::int64_t>(tableId),
            static_cast<std::int64_t>(place)};
}

std::uint16_t load16(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

std::uint16_t loadPid(std::span<const std::uint8_t> bytes) {
    return load16(bytes) & kGreatestPid;
}

/// Takes the fields of a section one after the other; reading past the end fails for good.
class TableFields {
public:
    explicit TableFields(std::span<const std::uint8_t> rest) : _rest(rest), _size(rest.size()) {}

    [[nodiscard]] std::span<const std::uint8_t> take(std::size_t count) {
        static constexpr std::array<std::uint8_t, kTableHeaderBytes> kNothing{};
        if (count > _rest.size()) {
            _hasFailed = true;
            _rest = {};
            return std::span(kNothing).first(std::min(count, kNothing.size()));
        }
        const auto taken = _rest.first(count);
        _rest = _rest.subspan(count);
        return taken;
    }

    /// Descriptors of so many bytes.
    std::vector<Descriptor> takeDescriptors(std::size_t bytes) {
        std::vector<Descriptor> descriptors;
        if (bytes > _rest.size()) {
            _hasFailed = true;
            _rest = {};
            return descriptors;
        }
        TableFields fields(take(bytes));
        while (!fields.isAtEnd()) {
            const auto head = fields.take(2);
            const std::size_t length = head[1];
            if (fields._hasFailed || length > fields._rest.size()) {
                _hasFailed = true;
                break;
            }
            const auto content = fields.take(length);
            descriptors.push_back({head[0], {content.begin(), content.end()}});
        }
        return descriptors;
    }

    /// Descriptors behind their 12-bit length.
    std::vector<Descriptor> takeDescriptorLoop() { return takeDescriptors(load16(take(2)) & 0x0FFFU); }

    [[nodiscard]] bool isAtEnd() const { return _rest.empty(); }
    [[nodiscard]] bool hasFailed() const { return _hasFailed; }
    [[nodiscard]] std::size_t place() const { return kTableHeaderBytes + _size - _rest.size(); }

private:
    std::span<const std::uint8_t> _rest;
    std::size_t _size;
    bool _hasFailed = false;
};

/// Whether it is a section of that table, with all that every one has.
bool isTable(std::span<const std::uint8_t> section, std::uint8_t tableId) {
    return section.size() >= kTableHeaderBytes + kSectionCrcBytes && section[0] == tableId &&
           (load16(section.subspan(1)) & 0x0FFFU) + kSectionHeaderBytes == section.size();
}

TableHeader headerOf(std::span<const std::uint8_t> section) {
    return {.extension = load16(section.subspan(3)),
            .version = static_cast<std::uint8_t>(section[5] >> 1U & 0x1FU),
            .isCurrent = (section[5] & 1U) != 0,
            .sectionNumber = section[6],
            .lastSection = section[7]};
}

std::span<const std::uint8_t> entriesOf(std::span<const std::uint8_t> section) {
    return section.subspan(kTableHeaderBytes, section.size() - kTableHeaderBytes - kSectionCrcBytes);
}

/// Makes a section field by field.
class TableBytes {
public:
    TableBytes(std::uint8_t tableId, const TableHeader& header) {
        _bytes = {tableId, 0, 0};
        add16(header.extension);
        add8(0xC0U | (header.version & 0x1FU) << 1U | (header.isCurrent ? 1U : 0U));
        add8(header.sectionNumber);
        add8(header.lastSection);
    }

    void add8(unsigned value) { _bytes.push_back(static_cast<std::uint8_t>(value)); }
    void add16(unsigned value) {
        add8(value >> 8U);
        add8(value);
    }
    void addPid(std::uint16_t pid) { add16(0xE000U | (pid & kGreatestPid)); }

    /// Descriptors behind their 12-bit length, with what stands in front of it.
    void addDescriptors(unsigned upperBits, const std::vector<Descriptor>& descriptors) {
        const std::size_t place = _bytes.size();
        add16(0);
        for (const Descriptor& descriptor : descriptors) {
            _fits = _fits && descriptor.bytes.size() <= kGreatestDescriptorBytes;
            add8(descriptor.tag);
            add8(static_cast<unsigned>(descriptor.bytes.size()));
            _bytes.insert(_bytes.end(), descriptor.bytes.begin(), descriptor.bytes.end());
        }
        const std::size_t length = _bytes.size() - place - 2;
        _bytes[place] = static_cast<std::uint8_t>(upperBits | (length >> 8U & 0x0FU));
        _bytes[place + 1] = static_cast<std::uint8_t>(length);
    }

    /// With its length and CRC. Bit 14 of the length's field is reserved for future use in tables of DVB, 0 in others.
    Result<std::vector<std::uint8_t>> finish(unsigned upperBits) {
        const std::size_t size = _bytes.size() + kSectionCrcBytes;
        if (!_fits || size > kGreatestTableBytes) {
            return tableWrong(0, _bytes[0], size);
        }
        const std::size_t length = size - kSectionHeaderBytes;
        _bytes[1] = static_cast<std::uint8_t>(upperBits | length >> 8U);
        _bytes[2] = static_cast<std::uint8_t>(length);
        appendSectionCrc(_bytes);
        return std::move(_bytes);
    }

private:
    std::vector<std::uint8_t> _bytes;
    bool _fits = true;
};

constexpr unsigned kMpegSyntax = 0xB0;
constexpr unsigned kDvbSyntax = 0xF0;

}  // namespace

Result<Pat> parsePat(std::span<const std::uint8_t> section, std::uint64_t offset) {
    if (!isTable(section, kPatTableId)) {
        return tableWrong(offset, section.empty() ? 0 : section[0], 0);
    }
    Pat table{headerOf(section), {}};
    TableFields fields(entriesOf(section));
    while (!fields.isAtEnd()) {
        const auto entry = fields.take(4);
        if (!fields.hasFailed()) {
            table.programs.push_back({load16(entry), loadPid(entry.subspan(2))});
        }
    }
    return fields.hasFailed() ? Result<Pat>(tableWrong(offset, section[0], fields.place())) : Result<Pat>(table);
}

Result<Pmt> parsePmt(std::span<const std::uint8_t> section, std::uint64_t offset) {
    if (!isTable(section, kPmtTableId)) {
        return tableWrong(offset, section.empty() ? 0 : section[0], 0);
    }
    Pmt table{headerOf(section), kNullPid, {}, {}};
    TableFields fields(entriesOf(section));
    table.pcrPid = loadPid(fields.take(2));
    table.descriptors = fields.takeDescriptorLoop();
    while (!fields.isAtEnd() && !fields.hasFailed()) {
        ProgramStream stream;
        stream.type = fields.take(1)[0];
        stream.pid = loadPid(fields.take(2));
        stream.descriptors = fields.takeDescriptorLoop();
        table.streams.push_back(std::move(stream));
    }
    return fields.hasFailed() ? Result<Pmt>(tableWrong(offset, section[0], fields.place()))
                              : Result<Pmt>(std::move(table));
}

Result<Sdt> parseSdt(std::span<const std::uint8_t> section, std::uint64_t offset) {
    if (!isTable(section, kSdtTableId)) {
        return tableWrong(offset, section.empty() ? 0 : section[0], 0);
    }
    Sdt table{headerOf(section), 0, {}};
    TableFields fields(entriesOf(section));
    table.networkId = load16(fields.take(2));
    (void)fields.take(1);
    while (!fields.isAtEnd() && !fields.hasFailed()) {
        Service service;
        service.number = load16(fields.take(2));
        (void)fields.take(1);
        service.descriptors = fields.takeDescriptorLoop();
        table.services.push_back(std::move(service));
    }
    return fields.hasFailed() ? Result<Sdt>(tableWrong(offset, section[0], fields.place()))
                              : Result<Sdt>(std::move(table));
}

Result<std::vector<std::uint8_t>> writePat(const Pat& table) {
    TableBytes bytes(kPatTableId, table.header);
    for (const Program& program : table.programs) {
        bytes.add16(program.number);
        bytes.addPid(program.mapPid);
    }
    return bytes.finish(kMpegSyntax);
}

Result<std::vector<std::uint8_t>> writePmt(const Pmt& table) {
    TableBytes bytes(kPmtTableId, table.header);
    bytes.addPid(table.pcrPid);
    bytes.addDescriptors(0xF0, table.descriptors);
    for (const ProgramStream& stream : table.streams) {
        bytes.add8(stream.type);
        bytes.addPid(stream.pid);
        bytes.addDescriptors(0xF0, stream.descriptors);
    }
    return bytes.finish(kMpegSyntax);
}

Result<std::vector<std::uint8_t>> writeSdt(const Sdt& table) {
    constexpr unsigned kNoSchedule = 0xFC;
    constexpr unsigned kRunning = 0x80;
    TableBytes bytes(kSdtTableId, table.header);
    bytes.add16(table.networkId);
    bytes.add8(0xFF);
    for (const Service& service : table.services) {
        bytes.add16(service.number);
        bytes.add8(kNoSchedule);
        bytes.addDescriptors(kRunning, service.descriptors);
    }
    return bytes.finish(kDvbSyntax);
}

std::vector<TeletextPage> teletextPages(std::span<const Descriptor> descriptors) {
    constexpr std::size_t kEntry = 5;
    std::vector<TeletextPage> pages;
    for (const Descriptor& descriptor : descriptors) {
        if (!descriptor.is(DescriptorTag::Teletext) && !descriptor.is(DescriptorTag::VbiTeletext)) {
            continue;
        }
        for (auto rest = std::span(descriptor.bytes); rest.size() >= kEntry; rest = rest.subspan(kEntry)) {
            const unsigned magazine = rest[3] & 7U;
            TeletextPage page;
            std::transform(rest.begin(), rest.begin() + 3, page.language.begin(),
                           [](std::uint8_t byte) { return static_cast<char>(byte); });
            page.type = static_cast<TeletextType>(rest[3] >> 3U);
            page.page = static_cast<std::uint16_t>((magazine == 0 ? 8U : magazine) << 8U | rest[4]);
            pages.push_back(page);
        }
    }
    return pages;
}

Descriptor teletextDescriptor(std::span<const TeletextPage> pages) {
    Descriptor descriptor{static_cast<std::uint8_t>(DescriptorTag::Teletext), {}};
    for (const TeletextPage& page : pages.first(std::min(pages.size(), kMostDescribedPages))) {
        for (const char letter : page.language) {
            descriptor.bytes.push_back(static_cast<std::uint8_t>(letter));
        }
        const auto type = static_cast<unsigned>(page.type);
        descriptor.bytes.push_back(static_cast<std::uint8_t>((type & 0x1FU) << 3U | (page.page >> 8U & 7U)));
        descriptor.bytes.push_back(static_cast<std::uint8_t>(page.page));
    }
    return descriptor;
}

namespace {

/// A text of a descriptor behind its length.
void addName(std::vector<std::uint8_t>& bytes, std::string_view name) {
    // Both names, the type and the two lengths are at most 255 bytes.
    constexpr std::size_t kMost = kMostServiceNameBytes + 1;
    constexpr std::uint8_t kUtf8 = 0x15;
    const bool isAscii = std::all_of(name.begin(), name.end(), [](char one) { return one >= ' ' && one <= '~'; });
    const std::size_t room = isAscii ? kMost : kMost - 1;
    if (name.size() > room) {
        std::size_t end = room;
        // No character is cut in two.
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) {
            --end;
        }
        name = name.substr(0, end);
    }
    bytes.push_back(static_cast<std::uint8_t>(name.size() + (isAscii ? 0 : 1)));
    if (!isAscii) {
        bytes.push_back(kUtf8);
    }
    for (const char one : name) {
        bytes.push_back(static_cast<std::uint8_t>(one));
    }
}

}  // namespace

Descriptor serviceDescriptor(std::string_view provider, std::string_view name) {
    constexpr std::uint8_t kDigitalTelevision = 0x01;
    Descriptor descriptor{static_cast<std::uint8_t>(DescriptorTag::Service), {kDigitalTelevision}};
    addName(descriptor.bytes, provider);
    addName(descriptor.bytes, name);
    return descriptor;
}

}  // namespace qlx::streams::ts
