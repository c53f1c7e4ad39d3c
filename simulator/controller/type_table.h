#pragma once

#include "simulator/controller/type.h"
#include "simulator/json_node.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zo_sim {

/// The types of a controller. The scenario declares some; names alone describe others, such as "ARRAY [0..3] OF INT".
/// Pointers to types stay valid as long as the table.
class TypeTable {
public:
    /// Builds all declared types, in their order. Throws ScenarioError.
    explicit TypeTable(const Node& types);

    /// Returns the type. Throws ScenarioError, with the place of `node`, for an unknown name.
    const Type& get(const std::string& name, const Node& node);
    /// Returns null if the name has not been used so far.
    const Type* find(std::string_view name) const;
    /// Returns the types in the order of the upload.
    const std::vector<const Type*>& uploaded() const { return uploaded_; }

    /// Reads "NAME : TYPE [AT BYTE[.BIT]] [:= JSON]", or an object. Without an offset, the offset is -1.
    struct Declared {
        Item item;
        std::int64_t offset = -1;
    };
    Declared read_item(const Node& node);

private:
    Type build(const Node& node);
    Type infer(const std::string& name, const Node& node);
    void read_members(Type& type, const Node& members);
    void read_dimensions(Type& type, const Node& node) const;
    void finish_array(Type& type, const Node& node, bool bits) const;
    Property read_property(const Node& node);
    Method read_method(const Node& node);
    static void read_common(const Node& node, AttributeList& attributes, std::string& comment, EntryNumbers& numbers);

    std::map<std::string, Node, std::less<>> declared_;
    std::map<std::string, std::unique_ptr<Type>, std::less<>> types_; // null while the type is being built
    std::vector<const Type*> uploaded_;
    int depth_ = 0; // of the types that are being built
};

/// Reads hexadecimal digits as bytes. Throws ScenarioError with the place of the node.
Bytes bytes_of_hex(std::string_view digits, const Node& node);

} // namespace zo_sim
