"""Makes one edition of the user guide: make_pdf.py guide-ENG.md "TAVIX user guide - ENG.pdf"."""
import html
import logging
import pathlib
import re
import sys

import markdown
import weasyprint

LANGUAGES = {"ENG": "en", "CHS": "zh-CN"}
IDEOGRAPH = "\u3000-\u303f\u4e00-\u9fff\uff00-\uffef\u201c\u201d\u2026"


# A line break between two Chinese characters stands for nothing, where one between words stands for a blank.
def join_chinese_lines(text):
    return re.sub(f"(?<=[{IDEOGRAPH}])\n(?=[{IDEOGRAPH}])", "", text)


def page_of(text, language):
    title = html.escape(re.match(r"# (.+)", text).group(1))
    body = markdown.markdown(join_chinese_lines(text), extensions=["tables"], output_format="html5")
    return f'<!doctype html><html lang="{language}"><head><meta charset="utf-8"><title>{title}</title></head>{body}</html>'


def main():
    source, target = map(pathlib.Path, sys.argv[1:3])
    logging.getLogger("weasyprint").addHandler(logging.StreamHandler())
    page = page_of(source.read_text(encoding="utf-8"), LANGUAGES[source.stem[-3:]])
    weasyprint.HTML(string=page, base_url=str(source)).write_pdf(
        target, stylesheets=[source.with_name("guide.css")], optimize_size=("fonts", "images"))


main()
