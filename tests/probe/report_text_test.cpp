int unused_report_text;
