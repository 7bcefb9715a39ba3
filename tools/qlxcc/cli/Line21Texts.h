// What the help of line21 says.
#pragma once

namespace qlx::tool {

inline constexpr const char* kLine21Description =
    "Draw captions into the first rows of pictures as line 21, and read them";

inline constexpr const char* kLine21Footer =
    "Each explains itself: qlxcc line21 write --help, qlxcc line21 read --help\n"
    "\n"
    "Examples:\n"
    "  qlxcc line21 write --bytes 942c -o erase.png --preview waveform.png\n"
    "  qlxcc line21 read erase.png";

inline constexpr const char* kLine21WriteDescription = "Draw CEA-608 byte pairs into pictures";

inline constexpr const char* kLine21WriteFooter =
    "The waveform takes rows 0 to 2: black, the clock run-in with the start bits and the pair, and the same with the "
    "null\n"
    "pair 8080; at least 706 pixels a row. A PAIR is four hexadecimal digits, parity bits included. One pair goes "
    "into\n"
    "every picture; of several (--bytes repeated, or 942c,942f) each goes into one, and the pictures behind the last "
    "one\n"
    "get 8080. Without IN the pictures are black, as many as there are pairs.\n"
    "Raw pictures stand one behind the other without padding: rows of 4 bytes a pixel (bgra, argb), of 128 bytes for\n"
    "every 48 pixels begun (v210), of 4 bytes for every 2 pixels begun (2vuy, yuvs); 420v is a plane of luma and one "
    "of\n"
    "Cb Cr pairs. A PNG file comes back with 8 bits a component.\n"
    "\n"
    "Examples:\n"
    "  qlxcc line21 write film.v210 --width 720 --height 486 --bytes 9420 --bytes c1c2 -o captioned.v210\n"
    "  qlxcc line21 write still.png --bytes 942c -o captioned.png --preview waveform.png";

inline constexpr const char* kLine21ReadDescription = "Read the CEA-608 bytes in rows 1 and 2 of pictures";

inline constexpr const char* kLine21ReadFooter =
    "Each picture gives the four bytes of its caption sample, and a line for each of the two rows: the pair that "
    "stands\n"
    "there, its parity and its name. The sample is 0 from the fourth byte on; its second byte holds that of row 1 and "
    "the\n"
    "first of row 2, ORed. Raw pictures lie as for line21 write.\n"
    "\n"
    "Examples:\n"
    "  qlxcc line21 read captioned.v210 --width 720 --height 486\n"
    "  qlxcc line21 read captioned.png --json --preview waveform.png";

}  // namespace qlx::tool
