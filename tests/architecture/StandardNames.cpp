#include "StandardNames.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string_view>

namespace architecture {
namespace {

struct HeaderNames {
    std::string_view headers;  ///< Any of them will do.
    std::string_view names;
};

/// A name may stand in several lines. Those of namespaces within `std` stand for all that is in them.
constexpr HeaderNames kHeaderNames[] = {
    {"algorithm",
     "adjacent_find all_of any_of binary_search clamp copy copy_backward copy_if copy_n count count_if equal "
     "equal_range fill fill_n find find_end find_first_of find_if find_if_not for_each for_each_n generate generate_n "
     "includes inplace_merge is_heap is_partitioned is_permutation is_sorted is_sorted_until iter_swap "
     "lexicographical_compare lexicographical_compare_three_way lower_bound make_heap max max_element merge min "
     "min_element minmax minmax_element mismatch move move_backward next_permutation none_of nth_element partial_sort "
     "partition partition_copy partition_point pop_heap prev_permutation push_heap remove remove_copy remove_copy_if "
     "remove_if replace replace_copy replace_if reverse reverse_copy rotate rotate_copy sample search search_n "
     "set_difference set_intersection set_symmetric_difference set_union shift_left shift_right shuffle sort sort_heap "
     "stable_partition stable_sort swap_ranges transform unique unique_copy upper_bound"},
    {"algorithm ranges", "ranges"},
    {"array", "array to_array"},
    {"array deque iterator map set span string string_view vector",
     "back_inserter begin cbegin cend crbegin crend data empty end inserter make_move_iterator make_reverse_iterator "
     "move_iterator rbegin rend reverse_iterator size ssize"},
    {"array tuple utility", "tuple_element tuple_size"},
    {"array memory tuple utility variant", "get"},
    {"atomic",
     "atomic atomic_bool atomic_flag atomic_ref memory_order_acq_rel memory_order_acquire memory_order_relaxed "
     "memory_order_release memory_order_seq_cst"},
    {"bit", "bit_cast bit_ceil bit_floor bit_width countl_one countl_zero countr_one countr_zero endian has_single_bit "
            "popcount rotl rotr"},
    {"bitset", "bitset"},
    {"cctype", "isalnum isalpha isdigit islower isprint isspace isupper isxdigit tolower toupper"},
    {"charconv", "chars_format from_chars from_chars_result to_chars to_chars_result"},
    {"chrono", "chrono"},
    {"cmath",
     "ceil cos exp fabs floor fmod hypot isfinite isinf isnan ldexp llround log log10 log2 lround nearbyint pow "
     "remainder round signbit sin sqrt tan trunc"},
    {"cmath cstdlib", "abs"},
    {"compare", "compare_three_way partial_ordering strong_order strong_ordering weak_ordering"},
    {"concepts",
     "assignable_from constructible_from convertible_to copy_constructible default_initializable derived_from "
     "destructible equality_comparable floating_point integral invocable move_constructible predicate regular "
     "same_as semiregular signed_integral totally_ordered unsigned_integral"},
    {"condition_variable", "condition_variable condition_variable_any cv_status"},
    {"csignal", "raise signal"},
    {"cstddef", "byte max_align_t to_integer"},
    {"cstddef array cstdio cstdlib cstring span string string_view vector", "nullptr_t ptrdiff_t size_t"},
    {"cstdint",
     "int16_t int32_t int64_t int8_t intmax_t intptr_t uint16_t uint32_t uint64_t uint8_t uint_fast16_t uint_fast32_t "
     "uint_fast8_t uintmax_t uintptr_t"},
    {"cstdio", "FILE fclose feof ferror fflush fgets fopen fprintf fputc fputs fread fseek ftell fwrite printf puts "
               "remove rename "
               "rewind setvbuf snprintf tmpfile vsnprintf"},
    {"cstdlib", "abort atexit calloc exit free getenv malloc quick_exit strtol strtoul system"},
    {"cstring", "memchr memcmp memcpy memmove memset strchr strcmp strerror strlen strncmp strstr"},
    {"ctime", "gmtime localtime mktime strftime time time_t tm"},
    {"deque", "deque"},
    {"deque list map set string unordered_map unordered_set vector", "erase erase_if"},
    {"exception",
     "current_exception exception exception_ptr make_exception_ptr nested_exception rethrow_exception terminate "
     "uncaught_exceptions"},
    {"filesystem", "filesystem"},
    {"fstream", "basic_fstream fstream ifstream ofstream"},
    {"functional",
     "bind_front bit_and bit_or bit_xor cref function hash identity invoke mem_fn minus multiplies negate not_fn "
     "plus ref reference_wrapper"},
    {"functional map set", "equal_to greater greater_equal less less_equal not_equal_to"},
    {"future", "async future future_status launch packaged_task promise shared_future"},
    {"initializer_list", "initializer_list"},
    {"iomanip", "hex setfill setprecision setw"},
    {"ios fstream iostream istream ostream sstream", "ios ios_base streamoff streampos streamsize"},
    {"iostream", "cerr cin clog cout"},
    {"istream iostream sstream fstream", "istream ws"},
    {"iterator",
     "advance back_insert_iterator bidirectional_iterator bidirectional_iterator_tag contiguous_iterator_tag "
     "default_sentinel default_sentinel_t distance forward_iterator forward_iterator_tag input_iterator "
     "input_iterator_tag istreambuf_iterator iterator_traits next ostreambuf_iterator output_iterator_tag prev "
     "random_access_iterator random_access_iterator_tag sentinel_for"},
    {"limits", "numeric_limits"},
    {"list", "list"},
    {"locale", "locale"},
    {"map", "map multimap"},
    {"memory",
     "addressof align allocator allocator_traits assume_aligned bad_weak_ptr const_pointer_cast construct_at "
     "default_delete destroy_at dynamic_pointer_cast enable_shared_from_this make_shared make_unique pointer_traits "
     "shared_ptr static_pointer_cast to_address uninitialized_copy unique_ptr weak_ptr"},
    {"mutex",
     "adopt_lock call_once defer_lock lock lock_guard mutex once_flag recursive_mutex scoped_lock try_to_lock"},
    {"mutex condition_variable shared_mutex", "unique_lock"},
    {"new", "align_val_t bad_alloc hardware_destructive_interference_size launder nothrow nothrow_t"},
    {"numbers", "numbers"},
    {"numeric",
     "accumulate adjacent_difference exclusive_scan gcd inclusive_scan inner_product iota lcm midpoint partial_sum "
     "reduce transform_reduce"},
    {"optional", "bad_optional_access make_optional nullopt nullopt_t optional"},
    {"ostream iostream sstream fstream", "endl flush ostream"},
    {"queue", "priority_queue queue"},
    {"random", "mt19937 mt19937_64 random_device uniform_int_distribution"},
    {"ranges", "views"},
    {"set", "multiset set"},
    {"shared_mutex", "shared_lock shared_mutex"},
    {"span", "as_bytes as_writable_bytes dynamic_extent span"},
    {"sstream", "istringstream ostringstream stringstream"},
    {"stack", "stack"},
    {"stdexcept",
     "domain_error invalid_argument length_error logic_error out_of_range overflow_error range_error runtime_error"},
    {"stop_token", "stop_source stop_token"},
    {"string",
     "basic_string char_traits stod stoi stol stoll stoul stoull string to_string to_wstring u16string u32string "
     "u8string wstring"},
    {"string istream", "getline"},
    {"string string_view", "basic_string_view string_view u16string_view u32string_view u8string_view wstring_view"},
    {"system_error",
     "error_category error_code error_condition generic_category is_error_code_enum make_error_code system_category "
     "system_error"},
    {"system_error charconv", "errc"},
    {"thread", "jthread this_thread thread"},
    {"tuple", "apply forward_as_tuple ignore make_tuple tie tuple tuple_cat"},
    {"type_traits",
     "add_const_t bool_constant common_type_t conditional_t decay_t enable_if_t false_type "
     "has_unique_object_representations_v "
     "integral_constant invoke_result_t is_arithmetic_v is_base_of_v is_const_v is_constant_evaluated "
     "is_constructible_v is_convertible_v is_copy_assignable_v is_copy_constructible_v is_default_constructible_v "
     "is_empty_v is_enum_v "
     "is_floating_point_v is_integral_v is_invocable_r_v is_invocable_v is_move_constructible_v "
     "is_nothrow_default_constructible_v is_nothrow_move_constructible_v is_nothrow_swappable_v is_pointer_v "
     "is_reference_v is_same_v is_signed_v "
     "is_standard_layout_v is_trivially_copyable is_trivially_copyable_v is_trivially_destructible_v is_unsigned_v "
     "is_void_v make_signed_t make_unsigned_t remove_const_t remove_cv_t remove_cvref_t remove_pointer_t "
     "remove_reference_t true_type type_identity_t underlying_type_t void_t"},
    {"unordered_map", "unordered_map unordered_multimap"},
    {"unordered_set", "unordered_multiset unordered_set"},
    {"utility",
     "as_const cmp_equal cmp_greater cmp_greater_equal cmp_less cmp_less_equal cmp_not_equal exchange forward in_range "
     "index_sequence index_sequence_for integer_sequence make_index_sequence make_pair move piecewise_construct swap"},
    {"utility map", "pair"},
    {"utility type_traits", "declval"},
    {"utility optional variant", "in_place in_place_index in_place_index_t in_place_t in_place_type in_place_type_t"},
    {"variant",
     "bad_variant_access get_if holds_alternative monostate variant variant_alternative_t variant_npos variant_size "
     "variant_size_v visit"},
    {"vector", "vector"},
};

/// By name, the headers that have it.
std::map<std::string, std::set<std::string>, std::less<>> tableOfNames() {
    std::map<std::string, std::set<std::string>, std::less<>> table;
    for (const HeaderNames& line : kHeaderNames) {
        std::istringstream names{std::string(line.names)};
        for (std::string name; names >> name;) {
            std::istringstream headers{std::string(line.headers)};
            for (std::string header; headers >> header;) {
                table[name].insert(header);
            }
        }
    }
    return table;
}

bool isOfName(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_';
}

/// The names that stand behind `std::`, each with the line of its first place (1-based).
std::map<std::string, std::size_t> namesOf(std::string_view code) {
    constexpr std::string_view kPrefix = "std::";
    std::map<std::string, std::size_t> names;
    std::size_t line = 1;
    std::size_t counted = 0;
    for (std::size_t place = code.find(kPrefix); place != std::string_view::npos; place = code.find(kPrefix, place)) {
        const bool isPartOfAnother = place > 0 && isOfName(code[place - 1]);
        line += static_cast<std::size_t>(std::count(code.begin() + static_cast<std::ptrdiff_t>(counted),
                                                    code.begin() + static_cast<std::ptrdiff_t>(place), '\n'));
        counted = place;
        place += kPrefix.size();
        const std::size_t begin = place;
        while (place < code.size() && isOfName(code[place])) {
            ++place;
        }
        if (!isPartOfAnother && place > begin) {
            names.emplace(code.substr(begin, place - begin), line);
        }
    }
    return names;
}

/// The include lines of each file of a tree, followed through the tree.
class IncludedHeaders {
public:
    explicit IncludedHeaders(const std::vector<SourceFile>& tree) {
        for (const SourceFile& file : tree) {
            _paths.insert(file.path);
        }
        for (const SourceFile& file : tree) {
            for (const Include& include : includesOf(file.text)) {
                const std::string target = fileNamedBy(include, file.path, _paths);
                if (target.empty()) {
                    _foreign[file.path].insert(include.path);
                } else {
                    _own[file.path].insert(target);
                }
            }
        }
    }

    /// The headers from outside the tree that a file includes, or a file of the tree that it includes.
    std::set<std::string> of(const std::string& path) const {
        std::set<std::string> reached{path};
        std::vector<std::string> open{path};
        std::set<std::string> headers;
        while (!open.empty()) {
            const std::string file = std::move(open.back());
            open.pop_back();
            if (const auto found = _foreign.find(file); found != _foreign.end()) {
                headers.insert(found->second.begin(), found->second.end());
            }
            if (const auto found = _own.find(file); found != _own.end()) {
                for (const std::string& target : found->second) {
                    if (reached.insert(target).second) {
                        open.push_back(target);
                    }
                }
            }
        }
        return headers;
    }

private:
    Paths _paths;
    std::map<std::string, std::set<std::string>> _foreign;
    std::map<std::string, std::set<std::string>> _own;
};

}  // namespace

std::vector<std::string> namesWithoutHeader(const std::vector<SourceFile>& tree) {
    const auto table = tableOfNames();
    const IncludedHeaders included(tree);
    std::vector<std::string> violations;
    for (const SourceFile& file : tree) {
        const std::set<std::string> headers = included.of(file.path);
        for (const auto& [name, line] : namesOf(withoutComments(file.text))) {
            const std::string place = file.path + ":" + std::to_string(line) + ": std::" + name;
            const auto known = table.find(name);
            if (known == table.end()) {
                violations.push_back(place + " is not in the table of tests/architecture/StandardNames.cpp");
            } else if (std::none_of(known->second.begin(), known->second.end(),
                                    [&](const std::string& header) { return headers.contains(header); })) {
                violations.push_back(place + " needs <" + *known->second.begin() + ">");
            }
        }
    }
    return violations;
}

}  // namespace architecture
