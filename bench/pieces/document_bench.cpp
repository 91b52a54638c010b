// Escaping and decoding of texts with and without special characters, and the XML reader.

#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "document/xml_writer.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

/// A text of `size` bytes in which each `period`-th byte needs escaping; none does if `period` is 0.
std::string MakeText(std::int64_t size, std::int64_t period) {
    std::string text;
    for (std::int64_t i = 1; i <= size; ++i)
        text += period != 0 && i % period == 0 ? '&' : static_cast<char>('a' + i % 26);
    return text;
}

void BM_Escape(benchmark::State& state) {
    const std::string text = MakeText(state.range(0), state.range(1));
    arbor::module::TextBuffer output;
    for (auto _ : state) {
        output.Clear();
        arbor::module::EscapeXml(text.data(), static_cast<std::int32_t>(text.size()), output);
        benchmark::DoNotOptimize(output.View().data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Escape)->ArgsProduct({{16, 256, 65536}, {0, 16}});

void BM_Decode(benchmark::State& state) {
    arbor::module::TextBuffer buffer;
    const std::string text = MakeText(state.range(0), state.range(1));
    arbor::module::EscapeXml(text.data(), static_cast<std::int32_t>(text.size()), buffer);
    const std::string escaped(buffer.View());
    std::string output;
    for (auto _ : state) {
        output.clear();
        benchmark::DoNotOptimize(
            arbor::module::DecodeEntities(escaped.data(), static_cast<std::int32_t>(escaped.size()), output));
    }
    if (output != text) state.SkipWithError("decoding doesn't undo the escaping");
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Decode)->ArgsProduct({{16, 256, 65536}, {0, 16}});

std::string MakeDocument(std::int64_t elements) {
    std::string document = "<arbor>\r\n";
    for (std::int64_t i = 0; i < elements; ++i) {
        document += "    <tDWORD name=\"Value" + std::to_string(i) + "\">" + std::to_string(i * 7919) + "</tDWORD>\r\n";
    }
    return document + "</arbor>\r\n";
}

// Reads each element with its attribute and text. Bytes per second must not depend on the size.
void BM_ReaderWalk(benchmark::State& state) {
    const std::string document = MakeDocument(state.range(0));
    for (auto _ : state) {
        arbor::module::XmlReader reader(document.data(), static_cast<std::uint32_t>(document.size()), false);
        arbor::module::XmlElement root;
        arbor::module::XmlElement element;
        std::vector<arbor::module::XmlAttribute> attributes;
        std::string text;
        std::int64_t seen = 0;
        if (reader.NextStartTag(root, 0, nullptr) != 0) state.SkipWithError("no root");
        for (; reader.NextStartTag(element, 0, nullptr) == 0; ++seen) {
            if (arbor::module::XmlReader::ReadAttributes(element, attributes) < 0) state.SkipWithError("no attributes");
            reader.ReadText(text, true);
            if (reader.CloseElement(element) < 0) state.SkipWithError("no end tag");
        }
        if (seen != state.range(0)) state.SkipWithError("not every element was seen");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}
BENCHMARK(BM_ReaderWalk)->RangeMultiplier(16)->Range(16, 65536);

}   // namespace
