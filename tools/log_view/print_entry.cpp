#include "print_entry.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::size_t bytes_in_a_line = 16;

bool is_printable(char c)
{
    return c >= ' ' && c <= '~';
}

void append_hex(std::string& line, std::size_t value, int digits)
{
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        line += "0123456789abcdef"[value >> shift & 15];
    }
}

void append_escaped(std::string& line, std::string_view text)
{
    for (const char c : text) {
        if (c == '\\') {
            line += "\\\\";
        } else if (is_printable(c)) {
            line += c;
        } else {
            line += "\\x";
            append_hex(line, static_cast<unsigned char>(c), 2);
        }
    }
}

void append_stamp(std::string& line, const LogEntry& entry)
{
    if (entry.date.empty()) {
        line += "----------  --:--:--";
        return;
    }
    line.append(entry.date.substr(0, 4)).append("-").append(entry.date.substr(4, 2)).append("-");
    line.append(entry.date.substr(6)).append("  ").append(entry.hour.substr(0, 2)).append(":");
    line.append(entry.hour.substr(2, 2)).append(":").append(entry.hour.substr(4));
}

void append_text(std::string& line, const LogEntry& entry)
{
    line += "  text     ";
    append_escaped(line, entry.text);
    line += " | " + std::to_string(entry.text.size()) + " bytes";
}

void append_source(std::string& line, char source)
{
    line += " | source ";
    if (source == '\0') {
        line += "none";
    } else {
        append_escaped(line, {&source, 1});
    }
}

void append_lengths(std::string& line, const LogEntry& entry)
{
    line += " | packet " + std::to_string(entry.packet_length) + " bytes";
    if (entry.form == LogEntry::Form::cut) {
        line += ", cut to " + std::to_string(entry.packet.size());
    } else if (entry.form == LogEntry::Form::compressed || entry.form == LogEntry::Form::unreadable) {
        line += ", compressed body of " + std::to_string(entry.body.size());
    }
}

void append_message(std::string& line, const LogEntry& entry)
{
    line += "  message  ";
    if (entry.form == LogEntry::Form::unreadable) {
        line += "(unreadable body)";
    } else {
        append_escaped(line, entry.label);
    }
    line += " | priority " + std::to_string(static_cast<unsigned char>(entry.priority));
    append_source(line, entry.source);
    append_lengths(line, entry);
}

void append_packet(std::string& lines, std::string_view packet)
{
    for (std::size_t at = 0; at < packet.size(); at += bytes_in_a_line) {
        const std::string_view part = packet.substr(at, bytes_in_a_line);
        lines += "    ";
        append_hex(lines, at, 4);
        lines += ' ';
        for (const char c : part) {
            lines += ' ';
            append_hex(lines, static_cast<unsigned char>(c), 2);
        }
        lines.append(3 * (bytes_in_a_line - part.size()) + 2, ' ');
        std::transform(part.begin(), part.end(), std::back_inserter(lines),
                       [](char c) { return is_printable(c) ? c : '.'; });
        lines += '\n';
    }
}

std::string damage_line(const LogEntry& entry)
{
    return "damage at offset " + std::to_string(entry.offset) + ": " + entry.damage + "; " +
           std::to_string(entry.length) + " bytes skipped\n";
}

} // namespace

std::string Readable_Entry(const LogEntry& entry, bool with_packet)
{
    if (entry.kind == LogEntry::Kind::damage) {
        return damage_line(entry);
    }
    std::string line;
    append_stamp(line, entry);
    if (entry.kind == LogEntry::Kind::text) {
        append_text(line, entry);
    } else {
        append_message(line, entry);
    }
    line += '\n';
    if (with_packet) {
        append_packet(line, entry.packet);
    }
    return line;
}
