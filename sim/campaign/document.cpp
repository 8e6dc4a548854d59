#include "sim/campaign/document.h"

namespace k4sim {

namespace {

constexpr std::string_view page_style =
#include "sim/story/page/report.css.inc"
    ;

// Text, with what means something to the reader of the format replaced.
std::string plain(const std::string& text, std::string_view special,
                  std::string (*replacement)(char)) {
    std::string safe;
    for (const char c : text)
        safe += special.find(c) == std::string_view::npos ? std::string(1, c) : replacement(c);
    return safe;
}

std::string in_markdown(const std::string& text) {
    return plain(text, "|*_<\\`[", [](char c) { return std::string("\\") + c; });
}

std::string in_html(const std::string& text) {
    return plain(text, "<&", [](char c) { return std::string(c == '<' ? "&lt;" : "&amp;"); });
}

class MarkdownWriter {
public:
    void operator()(const Heading& heading) {
        text += std::string(static_cast<std::size_t>(heading.level), '#') + " " +
                in_markdown(heading.text) + "\n\n";
    }
    void operator()(const Paragraph& paragraph) { text += in_markdown(paragraph.text) + "\n\n"; }
    void operator()(const Table& table) {
        line(table.head);
        text += "|";
        for (std::size_t i = 0; i < table.head.size(); ++i)
            text += i < table.numbers_from ? " --- |" : " ---: |";
        text += "\n";
        for (const std::vector<std::string>& row : table.rows)
            line(row);
        text += "\n";
    }
    std::string text;

private:
    void line(const std::vector<std::string>& cells) {
        text += "|";
        for (const std::string& cell : cells)
            text += " " + in_markdown(cell) + " |";
        text += "\n";
    }
};

class PageWriter {
public:
    void operator()(const Heading& heading) {
        element("h" + std::to_string(heading.level), "", heading.text);
        text += "\n";
    }
    void operator()(const Paragraph& paragraph) {
        element("p", "", paragraph.text);
        text += "\n";
    }
    void operator()(const Table& table) {
        text += "<div class=\"scrolling\"><table>\n";
        line("th", table.head, table.numbers_from);
        for (const std::vector<std::string>& row : table.rows)
            line("td", row, table.numbers_from);
        text += "</table></div>\n";
    }
    std::string text;

private:
    void element(const std::string& name, const std::string& attributes,
                 const std::string& content) {
        text.append("<").append(name).append(attributes).append(">");
        text.append(in_html(content)).append("</").append(name).append(">");
    }
    void line(const std::string& name, const std::vector<std::string>& cells,
              std::size_t numbers_from) {
        text += "<tr>";
        for (std::size_t i = 0; i < cells.size(); ++i)
            element(name, i < numbers_from ? "" : " class=\"number\"", cells[i]);
        text += "</tr>\n";
    }
};

template <class Writer>
std::string written(const Document& document) {
    Writer writer;
    for (const auto& part : document)
        std::visit(writer, part);
    return writer.text;
}

} // namespace

std::string as_markdown(const Document& document) {
    std::string text = written<MarkdownWriter>(document);
    text.pop_back(); // the last empty line
    return text;
}

std::string as_page(const Document& document) {
    const auto* const title = document.empty() ? nullptr : std::get_if<Heading>(&document.front());
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           (title == nullptr ? "" : in_html(title->text)) + "</title>\n<style>" +
           std::string(page_style) + "</style>\n</head>\n<body>\n" + written<PageWriter>(document) +
           "</body>\n</html>\n";
}

} // namespace k4sim
