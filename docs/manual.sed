# Corrects what troff would misread in the manual pages that Doxygen makes: backslashes in code, spaces at the beginning
# of a line of text, which break the line before it, and apostrophes there, which begin a request.
/^\.nf/,/^\.fi/ { s/\\n/\\en/g; b; }
s/^ *//
s/^'/\\(aq/
