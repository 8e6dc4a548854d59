// A document of headings, paragraphs and tables, written as Markdown and as a page.
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace k4sim {

struct Heading {
    int level; // 1: the title
    std::string text;
};

struct Paragraph {
    std::string text;
};

struct Table {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows; // as many cells as `head` has
    std::size_t numbers_from;                   // the first column of numbers
};

using Document = std::vector<std::variant<Heading, Paragraph, Table>>;

std::string as_markdown(const Document& document);

// One file that needs no other.
std::string as_page(const Document& document);

} // namespace k4sim
