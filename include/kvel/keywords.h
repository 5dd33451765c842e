/* Keyword identifiers: the number that the shell's grammar gives to each word and parameter slot of a command line and
 * that the handlers read from the tokens. The numbers are interface constants. C11 and C++20. */
#ifndef KVEL_KEYWORDS_H
#define KVEL_KEYWORDS_H

/* X(name, id), by command family, each in the order of its ids. */

/* Class-maps: creation, types, names, descriptions. */
#define KVEL_CLASS_MAP_KEYWORDS(X)      \
  X(class_map_description, 5)           \
  X(class_map_l3_name, 8)               \
  X(class_map_l3_match_any, 9)          \
  X(class_map_l3_match_all, 10)         \
  X(class_map_type_http_lb, 15)         \
  X(class_map_http_lb_match_all, 16)    \
  X(class_map_http_lb_match_any, 17)    \
  X(class_map_http_lb_name, 18)         \
  X(class_map_type_http_insp, 102)      \
  X(class_map_http_insp_name, 103)      \
  X(class_map_http_insp_match_all, 104) \
  X(class_map_http_insp_match_any, 105) \
  X(class_map_type_ftp_insp, 172)       \
  X(class_map_ftp_insp_name, 173)       \
  X(class_map_ftp_insp_match_any, 178)  \
  X(class_map_type_mgmt, 182)           \
  X(class_map_mgmt_name, 183)           \
  X(class_map_mgmt_match_all, 195)      \
  X(class_map_mgmt_match_any, 196)

/* Management match rules. */
#define KVEL_MGMT_MATCH_KEYWORDS(X) \
  X(mgmt_source_any, 180)           \
  X(mgmt_match, 181)                \
  X(mgmt_protocol, 184)             \
  X(mgmt_ssh, 185)                  \
  X(mgmt_telnet, 186)               \
  X(mgmt_http, 187)                 \
  X(mgmt_https, 188)                \
  X(mgmt_icmp, 189)                 \
  X(mgmt_ftp, 190)                  \
  X(mgmt_tftp, 191)                 \
  X(mgmt_source_address, 192)       \
  X(mgmt_source_mask, 193)          \
  X(mgmt_line, 194)                 \
  X(mgmt_source, 197)               \
  X(mgmt_address, 198)              \
  X(mgmt_mask, 199)                 \
  X(mgmt_snmp, 200)

/* Layer-3/4 match rules. The well-known ports serve the virtual-address and the port rule. */
#define KVEL_L3_MATCH_KEYWORDS(X)  \
  X(l3_line, 201)                  \
  X(vip_address, 203)              \
  X(vip_mask, 204)                 \
  X(vip_tcp, 205)                  \
  X(vip_udp, 206)                  \
  X(vip_tcp_any_port, 209)         \
  X(acl_name, 210)                 \
  X(source_address, 211)           \
  X(source_mask, 212)              \
  X(destination_address, 213)      \
  X(destination_mask, 214)         \
  X(port_tcp, 216)                 \
  X(port_tcp_equal, 217)           \
  X(port_tcp_range, 218)           \
  X(port_tcp_range_lower, 219)     \
  X(port_tcp_range_upper, 220)     \
  X(port_udp, 221)                 \
  X(port_udp_equal, 222)           \
  X(port_udp_range, 223)           \
  X(port_udp_range_lower, 224)     \
  X(port_udp_range_upper, 225)     \
  X(vip_protocol, 226)             \
  X(vip_tcp_range, 229)            \
  X(vip_tcp_range_lower, 230)      \
  X(vip_tcp_range_upper, 231)      \
  X(vip_any_protocol, 232)         \
  X(vip_udp_range, 233)            \
  X(vip_udp_range_lower, 234)      \
  X(vip_udp_range_upper, 235)      \
  X(vip_udp_any_port, 236)         \
  X(port_tcp_number, 237)          \
  X(port_udp_number, 238)          \
  X(port_tcp_any, 241)             \
  X(port_udp_any, 242)             \
  X(vip_tcp_number, 251)           \
  X(well_known_matip_type_a, 252)  \
  X(well_known_nntp, 253)          \
  X(well_known_ftp, 254)           \
  X(well_known_irc, 255)           \
  X(well_known_smtp, 256)          \
  X(well_known_telnet, 257)        \
  X(well_known_http, 258)          \
  X(well_known_https, 259)         \
  X(well_known_rtsp, 260)          \
  X(well_known_pop2, 261)          \
  X(well_known_pop3, 262)          \
  X(vip_tcp_equal, 263)            \
  X(well_known_www, 264)           \
  X(well_known_ftp_data, 265)      \
  X(well_known_domain_tcp, 266)    \
  X(vip_udp_number, 270)           \
  X(well_known_domain_udp, 271)    \
  X(well_known_wap_wsp, 272)       \
  X(well_known_wap_wsp_s, 273)     \
  X(well_known_wap_wsp_wtp, 274)   \
  X(well_known_wap_wsp_wtp_s, 275) \
  X(vip_udp_equal, 276)

/* HTTP and FTP inspection match rules. */
#define KVEL_INSPECTION_MATCH_KEYWORDS(X)     \
  X(http_insp_header_via, 44)                 \
  X(http_insp_header_user_agent, 45)          \
  X(http_insp_header_transfer_encoding, 46)   \
  X(http_insp_header_referer, 47)             \
  X(http_insp_header_pragma, 48)              \
  X(http_insp_header_if_match, 49)            \
  X(http_insp_header_host, 50)                \
  X(http_insp_header_from, 51)                \
  X(http_insp_header_expect, 52)              \
  X(http_insp_header_content_md5, 53)         \
  X(http_insp_header_connection, 54)          \
  X(http_insp_header_cache_control, 55)       \
  X(http_insp_header_authorization, 56)       \
  X(http_insp_header_accept_language, 57)     \
  X(http_insp_header_accept_encoding, 58)     \
  X(http_insp_header_accept_charset, 59)      \
  X(http_insp_header_accept, 60)              \
  X(header_length_greater, 61)                \
  X(header_length_less, 62)                   \
  X(header_length_equal, 63)                  \
  X(header_length_range_low, 65)              \
  X(header_length_range_high, 66)             \
  X(http_insp_line, 106)                      \
  X(header_length_request, 113)               \
  X(header_length_response, 114)              \
  X(http_insp_header_name, 115)               \
  X(http_insp_header_value, 116)              \
  X(http_insp_url, 123)                       \
  X(url_length_greater, 124)                  \
  X(url_length_less, 125)                     \
  X(url_length_equal, 126)                    \
  X(url_length_range_low, 128)                \
  X(url_length_range_high, 129)               \
  X(content_length_greater, 132)              \
  X(content_length_less, 133)                 \
  X(content_length_equal, 134)                \
  X(content_length_range_low, 136)            \
  X(content_length_range_high, 137)           \
  X(content_expression, 145)                  \
  X(content_offset, 146)                      \
  X(ftp_insp_line, 176)                       \
  X(ftp_method_appe, 876)                     \
  X(ftp_method_cdup, 877)                     \
  X(ftp_method_dele, 878)                     \
  X(ftp_method_retr, 879)                     \
  X(ftp_method_help, 880)                     \
  X(ftp_method_mkd, 881)                      \
  X(ftp_method_stor, 882)                     \
  X(ftp_method_rmd, 883)                      \
  X(ftp_method_rnfr, 884)                     \
  X(ftp_method_rnto, 885)                     \
  X(ftp_method_site, 886)                     \
  X(ftp_method_stou, 887)                     \
  X(ftp_method_syst, 888)                     \
  X(mime_application_gzip, 1001)              \
  X(mime_application_json, 1002)              \
  X(mime_application_msword, 1003)            \
  X(mime_application_octet_stream, 1004)      \
  X(mime_application_pdf, 1005)               \
  X(mime_application_postscript, 1006)        \
  X(mime_application_rtf, 1007)               \
  X(mime_application_vnd_ms_excel, 1008)      \
  X(mime_application_vnd_ms_powerpoint, 1009) \
  X(mime_application_x_java_archive, 1010)    \
  X(mime_application_x_msdownload, 1011)      \
  X(mime_application_xml, 1012)               \
  X(mime_application_zip, 1013)               \
  X(mime_audio_aac, 1014)                     \
  X(mime_audio_basic, 1015)                   \
  X(mime_audio_midi, 1016)                    \
  X(mime_audio_mpeg, 1017)                    \
  X(mime_audio_ogg, 1018)                     \
  X(mime_audio_vnd_wave, 1019)                \
  X(mime_audio_x_adpcm, 1020)                 \
  X(mime_image_bmp, 1021)                     \
  X(mime_image_cgm, 1022)                     \
  X(mime_image_gif, 1023)                     \
  X(mime_image_jpeg, 1024)                    \
  X(mime_image_png, 1025)                     \
  X(mime_image_svg_xml, 1026)                 \
  X(mime_image_tiff, 1027)                    \
  X(mime_image_x_3ds, 1028)                   \
  X(mime_image_x_bitmap, 1029)                \
  X(mime_image_x_niff, 1030)                  \
  X(mime_image_x_portable_bitmap, 1031)       \
  X(mime_image_x_portable_graymap, 1032)      \
  X(mime_image_x_xpm, 1033)                   \
  X(mime_text_css, 1034)                      \
  X(mime_text_csv, 1035)                      \
  X(mime_text_html, 1036)                     \
  X(mime_text_plain, 1037)                    \
  X(mime_text_richtext, 1038)                 \
  X(mime_text_sgml, 1039)                     \
  X(mime_text_xml, 1040)                      \
  X(mime_video_mp4, 1041)                     \
  X(mime_video_mpeg, 1042)                    \
  X(mime_video_quicktime, 1043)               \
  X(mime_video_sgi, 1044)                     \
  X(mime_video_x_fli, 1045)                   \
  X(transfer_encoding_chunked, 1101)          \
  X(transfer_encoding_compress, 1102)         \
  X(transfer_encoding_deflate, 1103)          \
  X(transfer_encoding_gzip, 1104)             \
  X(transfer_encoding_identity, 1105)         \
  X(transfer_encoding_trailers, 1106)         \
  X(http_method_connect, 1201)                \
  X(http_method_delete, 1202)                 \
  X(http_method_get, 1203)                    \
  X(http_method_head, 1204)                   \
  X(http_method_options, 1205)                \
  X(http_method_post, 1206)                   \
  X(http_method_put, 1207)                    \
  X(http_method_trace, 1208)                  \
  X(http_method_copy, 1209)                   \
  X(http_method_lock, 1210)                   \
  X(http_method_mkcol, 1211)                  \
  X(http_method_move, 1212)                   \
  X(http_method_propfind, 1213)               \
  X(http_method_proppatch, 1214)              \
  X(http_method_unlock, 1215)                 \
  X(http_method_acl, 1216)                    \
  X(http_method_baseline_control, 1217)       \
  X(http_method_bind, 1218)                   \
  X(http_method_checkin, 1219)                \
  X(http_method_checkout, 1220)               \
  X(http_method_label, 1221)                  \
  X(http_method_merge, 1222)                  \
  X(http_method_mkactivity, 1223)             \
  X(http_method_mkworkspace, 1224)            \
  X(http_method_report, 1225)                 \
  X(http_method_search, 1226)                 \
  X(http_method_version_control, 1227)        \
  X(port_misuse_instant_messaging, 1251)      \
  X(port_misuse_peer_to_peer, 1252)           \
  X(port_misuse_tunnelling, 1253)

/* HTTP load-balancing match rules. */
#define KVEL_LOAD_BALANCING_MATCH_KEYWORDS(X) \
  X(http_lb_line, 19)                         \
  X(http_lb_child, 101)                       \
  X(inline_lb_line, 504)                      \
  X(inline_match_name, 505)                   \
  X(http_lb_cookie_name, 506)                 \
  X(http_lb_cookie_value, 507)                \
  X(http_lb_header_name, 509)                 \
  X(http_lb_header_value, 510)                \
  X(http_lb_header_via, 511)                  \
  X(http_lb_header_user_agent, 512)           \
  X(http_lb_header_transfer_encoding, 513)    \
  X(http_lb_header_referer, 514)              \
  X(http_lb_header_pragma, 515)               \
  X(http_lb_header_if_match, 516)             \
  X(http_lb_header_host, 517)                 \
  X(http_lb_header_from, 518)                 \
  X(http_lb_header_expect, 519)               \
  X(http_lb_header_content_md5, 520)          \
  X(http_lb_header_connection, 521)           \
  X(http_lb_header_cache_control, 522)        \
  X(http_lb_header_authorization, 523)        \
  X(http_lb_header_accept_language, 524)      \
  X(http_lb_header_accept_encoding, 525)      \
  X(http_lb_header_accept_charset, 526)       \
  X(http_lb_header_accept, 527)               \
  X(http_lb_url, 528)                         \
  X(http_lb_url_qualifier, 529)               \
  X(http_lb_cookie_option, 532)               \
  X(http_lb_source_address, 570)              \
  X(http_lb_source_mask, 571)                 \
  X(insert_before_lb, 577)

/* Policy-maps: creation, types, names, descriptions, and their classes. */
#define KVEL_POLICY_MAP_KEYWORDS(X)         \
  X(policy_map_interval, 12)                \
  X(policy_map_l3_subtype, 351)             \
  X(policy_map_l3_name, 352)                \
  X(policy_l3_class, 356)                   \
  X(policy_l3_insert_before, 357)           \
  X(policy_l3_class_default, 366)           \
  X(policy_http_lb_class_default, 413)      \
  X(policy_map_type_http_lb, 502)           \
  X(policy_map_http_lb_name, 503)           \
  X(policy_map_http_lb_subtype, 530)        \
  X(policy_http_lb_class, 576)              \
  X(policy_http_insp_class, 593)            \
  X(policy_http_insp_insert_before, 594)    \
  X(policy_map_type_http_insp, 601)         \
  X(policy_map_http_insp_subtype, 602)      \
  X(policy_map_http_insp_name, 603)         \
  X(policy_map_type_ftp_insp, 651)          \
  X(policy_map_ftp_insp_name, 652)          \
  X(policy_map_ftp_insp_subtype, 654)       \
  X(policy_ftp_insp_class, 659)             \
  X(policy_ftp_insp_insert_before, 660)     \
  X(policy_map_type_mgmt, 663)              \
  X(policy_map_mgmt_subtype, 664)           \
  X(policy_map_mgmt_name, 665)              \
  X(policy_mgmt_class, 668)                 \
  X(policy_mgmt_insert_before, 669)         \
  X(policy_insp_class_default, 671)         \
  X(policy_mgmt_class_default, 673)         \
  X(policy_map_l3_description, 1501)        \
  X(policy_map_http_lb_description, 1502)   \
  X(policy_map_http_insp_description, 1503) \
  X(policy_map_ftp_insp_description, 1504)  \
  X(policy_map_mgmt_description, 1505)

/* Actions of the classes of a policy-map. Some are known by no more than their number. */
#define KVEL_POLICY_ACTION_KEYWORDS(X) \
  X(nat_address, 360)                  \
  X(nat_port, 361)                     \
  X(nat_vlan, 362)                     \
  X(nat_pool, 363)                     \
  X(nat_pool_vlan, 364)                \
  X(nat_mask, 365)                     \
  X(security_acl, 371)                 \
  X(inspect_ftp_strict, 383)           \
  X(inspect_ftp_policy, 384)           \
  X(inspect_http_option, 385)          \
  X(inspect_http_policy, 386)          \
  X(inspect_dns_max_length, 389)       \
  X(inspect_icmp_error_2, 390)         \
  X(inspect_icmp_error_1, 393)         \
  X(inspect_http_url_logging, 394)     \
  X(load_balance_policy, 402)          \
  X(vip_in_service, 404)               \
  X(vip_advertise, 405)                \
  X(vip_advertise_when_active, 406)    \
  X(vip_option, 408)                   \
  X(vip_metric, 409)                   \
  X(vip_object, 412)                   \
  X(vip_icmp_reply, 415)               \
  X(vip_icmp_reply_when_active, 416)   \
  X(connection_parameters, 466)        \
  X(ssl_proxy_server, 471)             \
  X(ssl_proxy_client, 473)             \
  X(application_parameters, 492)       \
  X(serverfarm, 578)                   \
  X(backup_serverfarm, 579)            \
  X(backup_option, 580)                \
  X(lb_drop, 581)                      \
  X(lb_forward, 582)                   \
  X(lb_flag_585, 585)                  \
  X(lb_flag_587, 587)                  \
  X(insert_header_name, 588)           \
  X(insert_header_value, 589)          \
  X(serverfarm_option, 590)            \
  X(inspect_permit, 607)               \
  X(inspect_log, 608)                  \
  X(inspect_reset, 609)                \
  X(ftp_insp_deny, 661)                \
  X(ftp_insp_mask_reply, 662)          \
  X(mgmt_permission_1, 670)            \
  X(mgmt_permission_2, 674)            \
  X(lb_group, 675)                     \
  X(lb_number_676, 676)                \
  X(nat_matip_type_a, 1255)            \
  X(nat_nntp, 1256)                    \
  X(nat_smtp, 1258)                    \
  X(nat_telnet, 1259)                  \
  X(nat_http, 1260)                    \
  X(nat_https, 1261)                   \
  X(nat_rtsp, 1262)                    \
  X(nat_pop2, 1263)                    \
  X(nat_pop3, 1264)                    \
  X(nat_ftp, 1265)                     \
  X(nat_domain, 1269)                  \
  X(nat_wap_wsp, 1270)                 \
  X(nat_wap_wsp_s, 1271)               \
  X(nat_wap_wsp_wtp, 1272)             \
  X(nat_wap_wsp_wtp_s, 1273)           \
  X(nat_tcp_port, 1275)                \
  X(nat_udp_port, 1276)

/* Matches written into a policy-map. They take the keywords of the rules of class-maps, and these of their own. */
#define KVEL_INLINE_MATCH_KEYWORDS(X) \
  X(inline_url_length, 122)           \
  X(inline_mime_type, 131)            \
  X(inline_content_length, 142)       \
  X(inline_request_method, 148)       \
  X(inline_extension_method, 149)     \
  X(inline_port_misuse, 150)          \
  X(inline_transfer_encoding, 161)    \
  X(inline_kind_22, 165)              \
  X(inline_kind_21, 166)              \
  X(inline_http_insert_before, 595)   \
  X(inline_http_match_name, 605)      \
  X(inline_lb_insert_before, 610)     \
  X(inline_ftp_match_name, 656)       \
  X(inline_ftp_cdup, 889)             \
  X(inline_ftp_dele, 890)             \
  X(inline_ftp_retr, 891)             \
  X(inline_ftp_help, 892)             \
  X(inline_ftp_mkd, 893)              \
  X(inline_ftp_stor, 894)             \
  X(inline_ftp_rmd, 895)              \
  X(inline_ftp_rnfr, 896)             \
  X(inline_ftp_rnto, 897)             \
  X(inline_ftp_site, 898)             \
  X(inline_ftp_stou, 899)             \
  X(inline_ftp_appe, 900)             \
  X(inline_ftp_syst, 901)

/* Parameter-maps: creation, types, names. */
#define KVEL_PARAMETER_MAP_KEYWORDS(X) \
  X(param_map_conn_name, 703)          \
  X(param_map_type_http, 800)          \
  X(param_map_http_name, 801)          \
  X(param_map_type_ssl, 920)           \
  X(param_map_ssl_name, 921)           \
  X(param_map_show_name, 966)

/* Settings of parameter-maps. Some are known by no more than their number. */
#define KVEL_PARAMETER_KEYWORDS(X)                   \
  X(conn_keepalive, 707)                             \
  X(conn_setting_710, 710)                           \
  X(conn_setting_711, 711)                           \
  X(conn_setting_712, 712)                           \
  X(conn_setting_714, 714)                           \
  X(conn_setting_715, 715)                           \
  X(conn_setting_718, 718)                           \
  X(conn_urgent_flag, 719)                           \
  X(conn_urgent_allow, 720)                          \
  X(conn_urgent_clear, 721)                          \
  X(conn_options_allow, 724)                         \
  X(conn_options_clear, 725)                         \
  X(conn_options_drop, 726)                          \
  X(conn_options_low_727, 727)                       \
  X(conn_options_low_728, 728)                       \
  X(conn_options_high_729, 729)                      \
  X(conn_options_high_730, 730)                      \
  X(conn_selective_ack, 731)                         \
  X(conn_selective_ack_allow, 732)                   \
  X(conn_selective_ack_clear, 733)                   \
  X(conn_timestamp, 734)                             \
  X(conn_timestamp_allow, 735)                       \
  X(conn_timestamp_clear, 736)                       \
  X(conn_window_scale, 737)                          \
  X(conn_window_scale_allow, 738)                    \
  X(conn_window_scale_clear, 739)                    \
  X(conn_setting_741, 741)                           \
  X(conn_setting_742, 742)                           \
  X(conn_reserved_bits, 743)                         \
  X(conn_reserved_bits_allow, 744)                   \
  X(conn_reserved_bits_clear, 745)                   \
  X(conn_reserved_bits_drop, 746)                    \
  X(conn_exceed_mss, 747)                            \
  X(conn_exceed_mss_allow, 748)                      \
  X(conn_exceed_mss_drop, 749)                       \
  X(conn_syn_data, 750)                              \
  X(conn_syn_data_allow, 751)                        \
  X(conn_syn_data_drop, 752)                         \
  X(conn_setting_753, 753)                           \
  X(conn_random_sequence, 754)                       \
  X(conn_unsupported_755, 755)                       \
  X(conn_nagle, 756)                                 \
  X(conn_slow_start, 769)                            \
  X(conn_mss, 771)                                   \
  X(conn_mss_min, 772)                               \
  X(conn_mss_max, 773)                               \
  X(conn_half_closed_timeout, 774)                   \
  X(conn_embryonic_timeout, 775)                     \
  X(conn_queue_limit, 776)                           \
  X(conn_rx_buffer_share, 778)                       \
  X(conn_tx_buffer_share, 779)                       \
  X(conn_syn_retry, 780)                             \
  X(conn_tos_rewrite, 781)                           \
  X(http_connection_reuse, 803)                      \
  X(http_case_insensitive, 804)                      \
  X(http_cookie_delimiters, 805)                     \
  X(http_length_exceed, 806)                         \
  X(http_content_max_parse, 807)                     \
  X(http_length_exceed_drop, 808)                    \
  X(http_length_exceed_continue, 809)                \
  X(http_persistence_rebalance, 810)                 \
  X(http_header_max_parse, 812)                      \
  X(http_cookie_delimiters_text, 813)                \
  X(http_header_max_parse_length, 814)               \
  X(http_content_max_parse_length, 815)              \
  X(conn_setting_827, 827)                           \
  X(conn_inactivity_timeout, 828)                    \
  X(conn_setting_830, 830)                           \
  X(conn_setting_856, 856)                           \
  X(ssl_cipher_rsa_with_rc4_128_md5, 922)            \
  X(ssl_cipher_rsa_with_rc4_128_sha, 923)            \
  X(ssl_cipher_rsa_with_des_cbc_sha, 924)            \
  X(ssl_cipher_rsa_with_3des_ede_cbc_sha, 925)       \
  X(ssl_cipher_rsa_export_with_rc4_40_md5, 926)      \
  X(ssl_cipher_rsa_export_with_des40_cbc_sha, 927)   \
  X(ssl_cipher_rsa_export1024_with_rc4_56_md5, 928)  \
  X(ssl_cipher_rsa_export1024_with_des_cbc_sha, 929) \
  X(ssl_cipher_rsa_export1024_with_rc4_56_sha, 930)  \
  X(ssl_cipher_rsa_with_aes_128_cbc_sha, 931)        \
  X(ssl_cipher_rsa_with_aes_256_cbc_sha, 932)        \
  X(ssl_cipher_priority, 950)                        \
  X(ssl_version, 951)                                \
  X(ssl_version_all, 952)                            \
  X(ssl_version_ssl3, 953)                           \
  X(ssl_version_tls1, 954)                           \
  X(ssl_setting_956, 956)                            \
  X(ssl_close_protocol, 957)                         \
  X(ssl_close_strict, 958)                           \
  X(ssl_close_none, 959)                             \
  X(ssl_close_disabled, 960)                         \
  X(ssl_setting_963, 963)                            \
  X(ssl_setting_964, 964)

/* SSL-proxy services. These numbers mean other words in the commands of class-maps. */
#define KVEL_SSL_PROXY_KEYWORDS(X) \
  X(ssl_proxy_name, 3)             \
  X(ssl_proxy_key, 4)              \
  X(ssl_proxy_certificate, 6)      \
  X(ssl_proxy_chain_group, 8)      \
  X(ssl_proxy_parameters, 18)

/* Showing and clearing service policies. */
#define KVEL_SERVICE_POLICY_KEYWORDS(X) \
  X(service_policy_name, 902)           \
  X(service_policy_detail, 903)         \
  X(service_policy_clear_name, 1500)

#define KVEL_KEYWORDS(X)                \
  KVEL_CLASS_MAP_KEYWORDS(X)            \
  KVEL_MGMT_MATCH_KEYWORDS(X)           \
  KVEL_L3_MATCH_KEYWORDS(X)             \
  KVEL_INSPECTION_MATCH_KEYWORDS(X)     \
  KVEL_LOAD_BALANCING_MATCH_KEYWORDS(X) \
  KVEL_POLICY_MAP_KEYWORDS(X)           \
  KVEL_POLICY_ACTION_KEYWORDS(X)        \
  KVEL_INLINE_MATCH_KEYWORDS(X)         \
  KVEL_PARAMETER_MAP_KEYWORDS(X)        \
  KVEL_PARAMETER_KEYWORDS(X)            \
  KVEL_SSL_PROXY_KEYWORDS(X)            \
  KVEL_SERVICE_POLICY_KEYWORDS(X)

/* Keywords whose place in their range gives the code that calls and records carry: X(name, first keyword, last keyword,
 * first code). */
#define KVEL_CODED_KEYWORDS(X)                                                     \
  X(ftp_methods, ftp_method_appe, ftp_method_syst, 1)                              \
  X(mime_types, mime_application_gzip, mime_video_x_fli, 33)                       \
  X(transfer_encodings, transfer_encoding_chunked, transfer_encoding_trailers, 83) \
  X(http_methods, http_method_connect, http_method_version_control, 1)             \
  X(port_misuses, port_misuse_instant_messaging, port_misuse_tunnelling, 1)

/* KVEL_KW_<name> for C. C++ code uses kvel::kw::<name>. */
enum {
#define KVEL_KEYWORD_ENUMERATOR(name, id) KVEL_KW_##name = (id),
  KVEL_KEYWORDS(KVEL_KEYWORD_ENUMERATOR)
#undef KVEL_KEYWORD_ENUMERATOR
};

#ifdef __cplusplus
namespace kvel::kw {
#define KVEL_KEYWORD_CONSTANT(name, id) inline constexpr unsigned name = (id);
KVEL_KEYWORDS(KVEL_KEYWORD_CONSTANT)
#undef KVEL_KEYWORD_CONSTANT

struct CodedKeywords {
  unsigned first;
  unsigned last;
  unsigned first_code;

  constexpr unsigned base() const { return first - first_code; }  // what a keyword is ahead of its code
};
#define KVEL_CODED_KEYWORDS_CONSTANT(name, first, last, first_code) \
  inline constexpr CodedKeywords name{first, last, first_code};
KVEL_CODED_KEYWORDS(KVEL_CODED_KEYWORDS_CONSTANT)
#undef KVEL_CODED_KEYWORDS_CONSTANT
}  // namespace kvel::kw
#endif

#endif
