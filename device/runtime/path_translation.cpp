#include "device/runtime/detail/path_translation.h"

#include "device/code/result_codes.h"
#include "device/runtime/detail/lookup_trie.h"
#include "device/runtime/detail/path_walk.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t max_spellings = 64;

/// Finds the stored symbols that begin a text, shortest first. Walks on from each until one walk reaches the end of the
/// text.
class Translation {
public:
    Translation(RuntimeConfig& config, std::string_view text)
        : config_(config), tables_(config.lookup_tables()), text_(text),
          // The names of symbols have neither indices nor operators.
          end_of_symbols_(std::min(text.find_first_of("[^`"), text.size())) {}

    TranslatePathResult run() {
        if (!text_.empty()) {
            if (auto found = try_prefixes(Spelling::Exact)) return *std::move(found);
            if (auto found = try_prefixes(Spelling::AnyCase)) return *std::move(found);
        }
        TranslatePathResult missing;
        missing.result = symbol_not_found(std::string(text_));
        return missing;
    }

private:
    /// The start of the text, in the spelling of the tables.
    struct Prefix {
        LookupTrie::Node node;
        std::string text;
    };

    std::optional<TranslatePathResult> try_prefixes(Spelling spelling) {
        std::vector<Prefix> prefixes{{tables_->symbols(), {}}};
        for (std::size_t start = 0; start <= end_of_symbols_ && !prefixes.empty();) {
            const std::size_t end = std::min(text_.find_first_of(".#", start), end_of_symbols_);
            prefixes = extend(prefixes, start, end, spelling);
            for (const Prefix& prefix : prefixes)
                if (auto found = walk_from(prefix.text, end, spelling)) return found;
            start = end + 1;
        }
        return std::nullopt;
    }
    std::vector<Prefix> extend(const std::vector<Prefix>& prefixes, std::size_t start, std::size_t end,
                               Spelling spelling) const {
        const std::string_view part = text_.substr(start, end - start);
        std::vector<Prefix> longer;
        for (const Prefix& prefix : prefixes) {
            std::vector<LookupTrie::Node> nodes;
            if (spelling == Spelling::AnyCase) {
                nodes = tables_->children_in_any_case(prefix.node, part);
            } else if (const LookupTrie::Node node = tables_->child(prefix.node, part); node != LookupTrie::none) {
                nodes.push_back(node);
            }
            for (const LookupTrie::Node node : nodes) {
                if (longer.size() == max_spellings) return longer;
                std::string text = prefix.text;
                if (start != 0) text += text_[start - 1];
                longer.push_back({node, text += tables_->name_of(node)});
            }
        }
        return longer;
    }
    /// Returns no value if the walk fails.
    std::optional<TranslatePathResult> walk_from(const std::string& prefix, std::size_t end, Spelling spelling) {
        const auto symbol = config_.symbols().get(prefix);
        if (!symbol) return std::nullopt;
        PathWalk walk(config_, prefix, *symbol, spelling);
        TranslatePathResult result = walk.follow(text_, end);
        if (result.result.code() == HMI_FDX_E_INVALID_SYMBOL) return std::nullopt;
        return result;
    }

    RuntimeConfig& config_;
    const std::shared_ptr<const LookupTrie> tables_;
    const std::string_view text_;
    const std::size_t end_of_symbols_;
};

} // namespace

TranslatePathResult translate_path(RuntimeConfig& config, const UnqualifiedFdxPath& path) {
    return Translation(config, path.str()).run();
}

} // namespace ZoHmiFdx
