// The options of line21.
#include "cli/SharedOptions.h"

namespace qlx::tool {

namespace {

constexpr std::string_view kPictureFormats[] = {"bgra", "argb", "v210", "2vuy", "yuvs", "420v", "png", "ppm"};

constexpr OptionRow kPictureFormat{.names = "--from-format",
                                   .older = "--format",
                                   .value = "FORMAT",
                                   .kind = ValueKind::Word,
                                   .words = kPictureFormats,
                                   .field = &RawOptions::format,
                                   .help = "{} (default: by content or name)",
                                   .more = "PNG and PPM files are told by their content; a name of raw pictures is "
                                           "believed."};
constexpr OptionRow kPictureWidth = width("Pixels of a row of a raw picture");
constexpr OptionRow kPictureHeight{.names = "--height",
                                   .value = "H",
                                   .kind = ValueKind::Number,
                                   .least = 1,
                                   .greatest = kGreatestWidth,
                                   .field = &RawOptions::height,
                                   .help = "Rows of a raw picture"};
constexpr OptionRow kPreview{
    .names = "--preview",
    .value = "FILE",
    .kind = ValueKind::File,
    .field = &RawOptions::picture,
    .help = "Draw the first picture's waveform, enlarged, into FILE (PNG, or PPM by its name)",
    .more = "It has rows 0 to 2, and the levels of rows 1 and 2 as graphs with the borders of the bits, their values, "
            "and the points and the level at which they are read. The name of another kind of file, such as "
            "waveform.gif, is refused."};

constexpr std::string_view kWriteNotes =
    R"(The waveform takes rows 0 to 2: black, the clock run-in with the start bits and the pair, and the same with the null
pair 8080; at least 706 pixels a row. A PAIR is four hexadecimal digits, parity bits included. One pair goes into
every picture; of several (--bytes repeated, or 942c,942f) each goes into one, and the pictures behind the last one
get 8080. Without IN the pictures are black, as many as there are pairs.
Raw pictures stand one behind the other without padding: rows of 4 bytes a pixel (bgra, argb), of 128 bytes for
every 48 pixels begun (v210), of 4 bytes for every 2 pixels begun (2vuy, yuvs); 420v is a plane of luma and one of
Cb Cr pairs. A PNG file comes back with 8 bits a component.

Examples:
  qlxcc line21 write film.v210 --width 720 --height 486 --bytes 9420 --bytes c1c2 -o captioned.v210
  qlxcc line21 write still.png --bytes 942c -o captioned.png --preview waveform.png)";

constexpr OptionRow kWriteOptions[] = {
    {.names = "IN",
     .kind = ValueKind::File,
     .field = &RawOptions::optionalFile,
     .help = "The pictures (-: standard input; default: black ones, 720 x 486)",
     .more = "They are raw ones, or a PNG or PPM file."},
    {.names = "--bytes",
     .value = "PAIR",
     .kind = ValueKind::Text,
     .isRequired = true,
     .field = &RawOptions::bytes,
     .help = "What is drawn, four hexadecimal digits; may be repeated",
     .more = "Parity bits are included; several are separated by commas, or the option is "
             "repeated."},
    saying(required(kOutput), "The pictures are written in the format in which they are read."),
    saying(kPictureFormat, "PNG and PPM files are told by their content; a name of raw pictures is believed. Without "
                           "IN the name of the output counts."),
    saying(kPictureWidth, "Of pictures that are made it is 720 by default."),
    saying(kPictureHeight, "Of pictures that are made it is 486 by default."),
    kPreview,
};

constexpr std::string_view kReadNotes =
    R"(Each picture gives the four bytes of its caption sample, and a line for each of the two rows: the pair that stands
there, its parity and its name. The sample is 0 from the fourth byte on; its second byte holds that of row 1 and the
first of row 2, ORed. Raw pictures lie as for line21 write.

Examples:
  qlxcc line21 read captioned.v210 --width 720 --height 486
  qlxcc line21 read captioned.png --json --preview waveform.png)";

constexpr OptionRow kReadOptions[] = {
    fileArgument("FILE", "The pictures (-: standard input)", "They are raw ones, or a PNG or PPM file."),
    kListOutput,
    asJson("A JSON line for each picture in place of the list",
           R"(    {"frame":0,"rows":[{"name":"erase displayed memory","pair":"942c",
    "parityOk":true,"row":1},...],"sample":"94ac8000"}
The first line has `"schema":"qlxcc/line21/1"`.)"),
    kPictureFormat,
    kPictureWidth,
    kPictureHeight,
    kPreview,
};

constexpr CommandRow kWriteCommand{.name = "write",
                                   .summary = "Draw CEA-608 byte pairs into pictures",
                                   .notes = kWriteNotes,
                                   .options = kWriteOptions,
                                   .check = checkedLine21Write};

constexpr CommandRow kReadCommand{.name = "read",
                                  .summary = "Read the CEA-608 bytes in rows 1 and 2 of pictures",
                                  .notes = kReadNotes,
                                  .options = kReadOptions,
                                  .check = checkedLine21Read};

constexpr const CommandRow* kLine21Commands[] = {&kWriteCommand, &kReadCommand};

constexpr std::string_view kLine21Notes =
    R"(Each explains itself: qlxcc line21 write --help, qlxcc line21 read --help

Examples:
  qlxcc line21 write --bytes 942c -o erase.png --preview waveform.png
  qlxcc line21 read erase.png)";

}  // namespace

constexpr CommandRow kLine21Command{.name = "line21",
                                    .summary =
                                        "Draw captions into the first rows of pictures as line 21, and read them",
                                    .notes = kLine21Notes,
                                    .commands = kLine21Commands};

}  // namespace qlx::tool
