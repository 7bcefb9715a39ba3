// SCTE-35 sections as XML, both ways.
#include "io/FindingNotes.h"
#include "streams/SCTEXmlCommands.h"
#include "streams/SCTEXmlDescriptors.h"

#include <sstream>
#include <tuple>
#include <variant>

namespace qlx::tool {

// Not without a name: what calls the functions finds them by that of its own namespace.
namespace scte_xml {

// Which element is which alternative.

template <class Alternative>
struct Named {
    using Type = Alternative;
    const char* name;
};

constexpr std::tuple kCommands{Named<SpliceNull>{"SpliceNull"},
                               Named<SpliceSchedule>{"SpliceSchedule"},
                               Named<SpliceInsert>{"SpliceInsert"},
                               Named<TimeSignal>{"TimeSignal"},
                               Named<BandwidthReservation>{"BandwidthReservation"},
                               Named<PrivateCommand>{"PrivateCommand"}};

constexpr std::tuple kDescriptors{Named<AvailDescriptor>{"AvailDescriptor"},
                                  Named<DtmfDescriptor>{"DTMFDescriptor"},
                                  Named<SegmentationDescriptor>{"SegmentationDescriptor"},
                                  Named<TimeDescriptor>{"TimeDescriptor"},
                                  Named<AudioDescriptor>{"AudioDescriptor"},
                                  Named<VerbatimDescriptor>{"PrivateDescriptor"}};

/// Calls `use` with each name until it says true.
template <class Names, class Use>
bool anyOf(const Names& names, Use use) {
    return std::apply([&use](const auto&... one) { return (use(one) || ...); }, names);
}

/// Writes what a variant holds as the element of its name; false where it has none.
template <class Names, class Variant>
bool writeAlternative(const Names& names, XmlFieldWriter& io, const Variant& value) {
    return anyOf(names, [&]<class Type>(const Named<Type>& named) {
        const Type* const found = std::get_if<Type>(&value);
        if (found != nullptr) {
            io.element(named.name, *found);
        }
        return found != nullptr;
    });
}

/// Reads an element of one of the names; false where it has another.
template <class Names, class Variant>
bool readAlternative(const Names& names, XmlFieldReader& io, pugi::xml_node element, Variant& value) {
    return anyOf(names, [&]<class Type>(const Named<Type>& named) {
        if (localOf(element.name()) != named.name) {
            return false;
        }
        io.pass(named.name);
        io.read(element, value.template emplace<Type>());
        return true;
    });
}

template <class Io, class Value>
void describeHeader(Io& io, Value& value) {
    io.number("sapType", value.sapType, 3);
    io.number("ptsAdjustment", value.ptsAdjustment90k, kGreatestTicks);
    io.number("protocolVersion", value.protocolVersion);
    io.number("tier", value.tier, kEveryTier);
}

inline void describe(XmlFieldWriter& io, const SpliceInfoSection& value) {
    io.text("xmlns", std::string(kNamespace));
    describeHeader(io, value);
    if (!writeAlternative(kCommands, io, value.command)) {
        const auto type = value.commandType();
        throw ScteXmlError(type ? "a command of type " + std::to_string(*type) + " that is kept as it is has no XML"
                                : "an encrypted section has no XML");
    }
    for (const SpliceDescriptor& descriptor : value.descriptors) {
        (void)writeAlternative(kDescriptors, io, descriptor.data);
    }
}

inline void describe(XmlFieldReader& io, SpliceInfoSection& value) {
    describeHeader(io, value);
    if (io.hasElement("EncryptedPacket")) {
        io.refuse<void>("EncryptedPacket", "asks for encryption, which is not made here");
    }
    bool hasCommand = false;
    for (const pugi::xml_node child : io.node().children()) {
        if (!isOurs(child)) {
            continue;
        }
        if (SpliceCommand command; readAlternative(kCommands, io, child, command)) {
            if (hasCommand) {
                io.refuse<void>(child.name(), "is a second command");
            }
            hasCommand = true;
            value.command = std::move(command);
        } else if (SpliceDescriptor descriptor; readAlternative(kDescriptors, io, child, descriptor.data)) {
            value.descriptors.push_back(std::move(descriptor));
        }
    }
    if (!hasCommand) {
        throw ScteXmlError("SpliceInfoSection: no command");
    }
}

/// What is not as it was, in words.
void compare(const SpliceInfoSection& said, const SpliceInfoSection& back, std::vector<std::string>& losses) {
    const auto check = [&losses](bool isSame, std::string what) {
        if (!isSame) {
            losses.push_back(std::move(what));
        }
    };
    check(said.sectionSyntaxIndicator == back.sectionSyntaxIndicator, "section_syntax_indicator");
    check(said.privateIndicator == back.privateIndicator, "private_indicator");
    check(said.encryptionAlgorithm == back.encryptionAlgorithm, "encryption_algorithm");
    check(said.cwIndex == back.cwIndex, "cw_index");
    check(said.command == back.command, "reserved bits of the command, or components that are none");
    check(said.commandTrailing.empty(), "bytes behind the fields of the command");
    for (std::size_t index = 0; index < said.descriptors.size(); ++index) {
        const std::string name = "descriptor " + std::to_string(index + 1) + ": ";
        const SpliceDescriptor& one = said.descriptors[index];
        check(index < back.descriptors.size() && one.data == back.descriptors[index].data,
              name + "reserved bits, or components that are none");
        check(one.trailing.empty(), name + "bytes behind its fields");
    }
    check(said.descriptorTrailing.empty(), "bytes behind the descriptors");
    check(said.alignmentStuffing.empty(), "alignment_stuffing");
    check(!said.statedCommandLength, "splice_command_length");
    check(!said.statedCrc, "CRC_32");
}

// Reading a text.

std::string lineOf(std::string_view text, std::ptrdiff_t offset) {
    const std::string_view before = text.substr(0, static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)));
    return "line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n')) + ": ";
}

void checkElement(std::string_view text, pugi::xml_node element) {
    constexpr std::size_t kMostAttributes = 64;
    std::vector<std::string_view> names;
    for (const pugi::xml_attribute attribute : element.attributes()) {
        const std::string_view name = attribute.name();
        if (std::find(names.begin(), names.end(), name) != names.end()) {
            throw ScteXmlError(lineOf(text, element.offset_debug()) + element.name() + ": " + std::string(name) +
                               " stands there twice");
        }
        names.push_back(name);
        if (names.size() > kMostAttributes) {
            throw ScteXmlError(lineOf(text, element.offset_debug()) + "an element has more than 64 attributes");
        }
    }
}

/// What can be gone through: not nested deeply, without declarations of its own.
void checkDocument(std::string_view text, const pugi::xml_document& document) {
    constexpr std::size_t kDeepest = 64;
    std::size_t depth = 0;
    for (pugi::xml_node node = document.first_child(); node;) {
        if (node.type() == pugi::node_doctype && std::string_view(node.value()).find('[') != std::string_view::npos) {
            throw ScteXmlError("a document type with declarations of its own is not read");
        }
        checkElement(text, node);
        if (node.first_child()) {
            if (++depth == kDeepest) {
                throw ScteXmlError("XML nested deeper than 64 levels");
            }
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
            depth -= depth > 0 ? 1 : 0;
        }
        node = node.next_sibling();
    }
}

SpliceInfoSection sectionOfBinary(pugi::xml_node element, std::vector<std::string>& notes) {
    const auto bytes = spliceInfoBytes(textOf(element));
    if (!bytes) {
        throw ScteXmlError("Binary: " + bytes.error().text());
    }
    qlx::Findings findings;
    auto section = parseSpliceInfoSection(*bytes, &findings);
    if (!section) {
        throw ScteXmlError("Binary: byte " + std::to_string(section.error().offset) + ": " + section.error().text());
    }
    for (const qlx::Finding& finding : findings) {
        notes.push_back("Binary: byte " + std::to_string(finding.offset) + ": " + finding.text());
    }
    if (findings.rest() > 0) {
        notes.push_back("Binary: " + restInWords(findings));
    }
    return *std::move(section);
}

// NOLINTNEXTLINE(misc-no-recursion): no deeper than checkDocument() allows.
void takeSections(pugi::xml_node parent, std::vector<SpliceInfoSection>& sections, std::vector<std::string>& notes) {
    for (const pugi::xml_node child : parent.children()) {
        const std::string_view name = isOurs(child) ? localOf(child.name()) : std::string_view();
        if (name == "SpliceInfoSection") {
            XmlFieldReader(parent, notes).read(child, sections.emplace_back());
        } else if (name == "Binary") {
            sections.push_back(sectionOfBinary(child, notes));
        } else {
            takeSections(child, sections, notes);
        }
    }
}

}  // namespace scte_xml

std::string xmlOf(const scte::SpliceInfoSection& section, std::vector<std::string>& losses) {
    pugi::xml_document document;
    scte_xml::XmlFieldWriter(document).element("SpliceInfoSection", section);
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    // What an XML says is what is read out of it.
    std::vector<std::string> notes;
    scte_xml::compare(section, sectionsOfXml(text.view(), notes).at(0), losses);
    return text.str();
}

std::vector<scte::SpliceInfoSection> sectionsOfXml(std::string_view text, std::vector<std::string>& notes) {
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
    if (!result) {
        throw ScteXmlError(scte_xml::lineOf(text, std::min(result.offset, static_cast<std::ptrdiff_t>(text.size()))) +
                           "not XML: " + result.description());
    }
    scte_xml::checkDocument(text, document);
    std::vector<scte::SpliceInfoSection> sections;
    scte_xml::takeSections(document, sections, notes);
    if (sections.empty()) {
        throw ScteXmlError("no SpliceInfoSection of the namespace " + std::string(scte_xml::kNamespace));
    }
    return sections;
}

}  // namespace qlx::tool
