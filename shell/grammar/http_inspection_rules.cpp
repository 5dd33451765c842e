// HTTP-inspection rules. See http_inspection_rules.h.
#include "shell/grammar/http_inspection_rules.h"

#include <array>

#include "shell/grammar/class_map_matches.h"

namespace kvel::shell {

using namespace pattern;

namespace {

constexpr std::uint32_t kLongestHeader = 255;
constexpr std::uint32_t kLongestUrl = 65535;
constexpr std::uint32_t kLongestContent = 4294967295;
constexpr std::uint32_t kHighestOffset = 255;

constexpr std::array kMimeTypes{
    WordRow{"application/gzip", "Gzip archive", kw::mime_application_gzip},
    WordRow{"application/json", "JSON document", kw::mime_application_json},
    WordRow{"application/msword", "Word-processor document", kw::mime_application_msword},
    WordRow{"application/octet-stream", "Bytes of any kind", kw::mime_application_octet_stream},
    WordRow{"application/pdf", "PDF document", kw::mime_application_pdf},
    WordRow{"application/postscript", "PostScript document", kw::mime_application_postscript},
    WordRow{"application/rtf", "Rich Text Format document", kw::mime_application_rtf},
    WordRow{"application/vnd.ms-excel", "Spreadsheet", kw::mime_application_vnd_ms_excel},
    WordRow{"application/vnd.ms-powerpoint", "Presentation", kw::mime_application_vnd_ms_powerpoint},
    WordRow{"application/x-java-archive", "Java archive", kw::mime_application_x_java_archive},
    WordRow{"application/x-msdownload", "Executable program", kw::mime_application_x_msdownload},
    WordRow{"application/xml", "XML document", kw::mime_application_xml},
    WordRow{"application/zip", "Zip archive", kw::mime_application_zip},
    WordRow{"audio/aac", "AAC sound", kw::mime_audio_aac},
    WordRow{"audio/basic", "Sound of one channel, mu-law", kw::mime_audio_basic},
    WordRow{"audio/midi", "MIDI music", kw::mime_audio_midi},
    WordRow{"audio/mpeg", "MPEG sound", kw::mime_audio_mpeg},
    WordRow{"audio/ogg", "Ogg sound", kw::mime_audio_ogg},
    WordRow{"audio/vnd.wave", "WAVE sound", kw::mime_audio_vnd_wave},
    WordRow{"audio/x-adpcm", "ADPCM sound", kw::mime_audio_x_adpcm},
    WordRow{"image/bmp", "BMP image", kw::mime_image_bmp},
    WordRow{"image/cgm", "Computer Graphics Metafile", kw::mime_image_cgm},
    WordRow{"image/gif", "GIF image", kw::mime_image_gif},
    WordRow{"image/jpeg", "JPEG image", kw::mime_image_jpeg},
    WordRow{"image/png", "PNG image", kw::mime_image_png},
    WordRow{"image/svg+xml", "SVG drawing", kw::mime_image_svg_xml},
    WordRow{"image/tiff", "TIFF image", kw::mime_image_tiff},
    WordRow{"image/x-3ds", "3DS scene", kw::mime_image_x_3ds},
    WordRow{"image/x-bitmap", "Bitmap", kw::mime_image_x_bitmap},
    WordRow{"image/x-niff", "NIFF image", kw::mime_image_x_niff},
    WordRow{"image/x-portable-bitmap", "Portable bitmap", kw::mime_image_x_portable_bitmap},
    WordRow{"image/x-portable-graymap", "Portable greymap", kw::mime_image_x_portable_graymap},
    WordRow{"image/x-xpm", "X pixmap", kw::mime_image_x_xpm},
    WordRow{"text/css", "Style sheet", kw::mime_text_css},
    WordRow{"text/csv", "Comma-separated values", kw::mime_text_csv},
    WordRow{"text/html", "HTML page", kw::mime_text_html},
    WordRow{"text/plain", "Plain text", kw::mime_text_plain},
    WordRow{"text/richtext", "Rich text", kw::mime_text_richtext},
    WordRow{"text/sgml", "SGML document", kw::mime_text_sgml},
    WordRow{"text/xml", "XML document for readers", kw::mime_text_xml},
    WordRow{"video/mp4", "MP4 film", kw::mime_video_mp4},
    WordRow{"video/mpeg", "MPEG film", kw::mime_video_mpeg},
    WordRow{"video/quicktime", "QuickTime film", kw::mime_video_quicktime},
    WordRow{"video/sgi", "SGI film", kw::mime_video_sgi},
    WordRow{"video/x-fli", "FLI animation", kw::mime_video_x_fli},
};

// HTTP's own methods, those of WebDAV, and those of its extensions.
constexpr std::array kRequestMethods{
    WordRow{"connect", "Open a tunnel", kw::http_method_connect},
    WordRow{"delete", "Delete a resource", kw::http_method_delete},
    WordRow{"get", "Fetch a resource", kw::http_method_get},
    WordRow{"head", "Fetch the headers of a resource", kw::http_method_head},
    WordRow{"options", "Query the supported methods", kw::http_method_options},
    WordRow{"post", "Submit data to a resource", kw::http_method_post},
    WordRow{"put", "Store a resource", kw::http_method_put},
    WordRow{"trace", "Return the request as received", kw::http_method_trace},
    WordRow{"copy", "WebDAV: copy a resource", kw::http_method_copy},
    WordRow{"lock", "WebDAV: lock a resource", kw::http_method_lock},
    WordRow{"mkcol", "WebDAV: create a collection", kw::http_method_mkcol},
    WordRow{"move", "WebDAV: move a resource", kw::http_method_move},
    WordRow{"propfind", "WebDAV: fetch properties", kw::http_method_propfind},
    WordRow{"proppatch", "WebDAV: change properties", kw::http_method_proppatch},
    WordRow{"unlock", "WebDAV: release a lock", kw::http_method_unlock},
    WordRow{"acl", "WebDAV: change an access list", kw::http_method_acl},
    WordRow{"baseline-control", "WebDAV: put a collection under a baseline", kw::http_method_baseline_control},
    WordRow{"bind", "WebDAV: give a resource another name", kw::http_method_bind},
    WordRow{"checkin", "WebDAV: finish a new version", kw::http_method_checkin},
    WordRow{"checkout", "WebDAV: begin a new version", kw::http_method_checkout},
    WordRow{"label", "WebDAV: label a version", kw::http_method_label},
    WordRow{"merge", "WebDAV: merge versions", kw::http_method_merge},
    WordRow{"mkactivity", "WebDAV: create an activity", kw::http_method_mkactivity},
    WordRow{"mkworkspace", "WebDAV: create a workspace", kw::http_method_mkworkspace},
    WordRow{"report", "WebDAV: fetch a report", kw::http_method_report},
    WordRow{"search", "WebDAV: search for resources", kw::http_method_search},
    WordRow{"version-control", "WebDAV: put a resource under version control", kw::http_method_version_control},
};

constexpr std::array kPortMisuses{
    WordRow{"instant-messaging", "Instant messaging", kw::port_misuse_instant_messaging},
    WordRow{"peer-to-peer", "Peer-to-peer file sharing", kw::port_misuse_peer_to_peer},
    WordRow{"tunnelling", "Other protocols inside HTTP", kw::port_misuse_tunnelling},
};

// Inline matches know all but the first.
constexpr std::array kTransferEncodings{
    WordRow{"compress", "Compressed by the compress program", kw::transfer_encoding_compress},
    WordRow{"chunked", "A series of chunks", kw::transfer_encoding_chunked},
    WordRow{"deflate", "Compressed in the zlib format", kw::transfer_encoding_deflate},
    WordRow{"gzip", "Compressed by the gzip program", kw::transfer_encoding_gzip},
    WordRow{"identity", "No coding", kw::transfer_encoding_identity},
    WordRow{"trailers", "Headers after a chunked body", kw::transfer_encoding_trailers},
};

struct LengthKeywords {
  KeywordId greater;
  KeywordId less;
  KeywordId equal;
  KeywordId low;
  KeywordId high;
};
constexpr LengthKeywords kHeaderLength{kw::header_length_greater, kw::header_length_less, kw::header_length_equal,
                                       kw::header_length_range_low, kw::header_length_range_high};
constexpr LengthKeywords kUrlLength{kw::url_length_greater, kw::url_length_less, kw::url_length_equal,
                                    kw::url_length_range_low, kw::url_length_range_high};
constexpr LengthKeywords kContentLength{kw::content_length_greater, kw::content_length_less, kw::content_length_equal,
                                        kw::content_length_range_low, kw::content_length_range_high};

// A comparison, kept as the lowest and the highest length that it lets through.
Pattern length(const LengthKeywords& keywords, std::uint32_t most) {
  constexpr std::string_view kUnit = "bytes";
  return choice(
      sequence(word("equal", "Exactly this length"),
               number(0, most, "Length", keywords.equal, kUnit).binds("low").binds("high")),
      sequence(word("greater-than", "Longer than this").binds("high", most),
               number(0, most - 1, "Lower bound, not included", keywords.greater, kUnit).binds_shifted("low", 1)),
      sequence(word("less-than", "Shorter than this").binds("low", 0U),
               number(1, most, "Upper bound, not included", keywords.less, kUnit).binds_shifted("high", -1)),
      sequence(word("range", "From one length to another"),
               number(0, most, "Minimum length", keywords.low, kUnit).binds("low"),
               number(0, most, "Maximum length", keywords.high, kUnit).binds("high")));
}

Pattern coded(std::string_view text, std::string_view help, KeywordId keyword, std::span<const WordRow> rows,
              const kw::CodedKeywords& codes) {
  return sequence(word(text, help, keyword), choice_of(rows, "code", codes));
}

}  // namespace

Pattern header_length_rule() {
  return sequence(word("header-length", "Length of all headers together"),
                  choice(word("request", "Headers of the request", kw::header_length_request).binds("direction"),
                         word("response", "Headers of the response", kw::header_length_response).binds("direction")),
                  length(kHeaderLength, kLongestHeader));
}

Pattern header_rule() {
  return http_header(kw::http_insp_header_via, kw::http_insp_header_name, kw::http_insp_header_value);
}

Pattern url_rule() {
  return sequence(word("url", "The URL"),
                  expression("Regular expression that the URL matches", kw::http_insp_url).binds("expression"));
}

Pattern url_length_rule(KeywordId keyword) {
  return sequence(word("url-length", "Length of the URL", keyword), length(kUrlLength, kLongestUrl));
}

Pattern mime_type_rule(KeywordId keyword) {
  return coded("mime-type", "Media type of the body", keyword, kMimeTypes, kw::mime_types);
}

Pattern content_rule() {
  return sequence(
      word("content", "The body"),
      expression("Regular expression that the body matches", kw::content_expression).binds("expression"),
      optional(word("offset", "Offset to start at; 0 when left out"),
               number(0, kHighestOffset, "Offset in the body", kw::content_offset, "bytes").binds("offset")));
}

Pattern content_length_rule(KeywordId keyword) {
  return sequence(word("content-length", "Length of the body", keyword), length(kContentLength, kLongestContent));
}

Pattern request_method_rule(KeywordId keyword) {
  return coded("request-method", "Method of the request", keyword, kRequestMethods, kw::http_methods);
}

Pattern extension_method_rule(KeywordId keyword) {
  return coded("extension-method", "Method of the request; request-method in other words", keyword, kRequestMethods,
               kw::http_methods);
}

Pattern port_misuse_rule(KeywordId keyword) {
  return coded("port-misuse", "What uses port 80 and is no web traffic", keyword, kPortMisuses, kw::port_misuses);
}

Pattern transfer_encoding_rule() {
  return coded("transfer-encoding", "Coding of the message on its way", kNoKeyword, kTransferEncodings,
               kw::transfer_encodings);
}

Pattern inline_transfer_encoding_rule(KeywordId keyword) {
  return coded("transfer-encoding", "Coding of the message on its way", keyword,
               std::span(kTransferEncodings).subspan(1), kw::transfer_encodings);
}

}  // namespace kvel::shell
