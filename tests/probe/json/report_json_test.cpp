int unused_report_json;
