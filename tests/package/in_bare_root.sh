# Runs in the bare root, in a folder with the packages. Every command must succeed.
set -euxo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
cd /try
files_of_ours() { find / -xdev \( -path /proc -o -path /sys -o -path /try -o -path /var/lib/apt \) -prune -o \( -iname '*qbsvr*' -o -iname '*qbreport*' \) -print; }

apt-get install -qq -y --no-install-recommends ./*.deb fonts-dejavu-core fonts-liberation fonts-noto-cjk

# The programs, as a user without rights.
useradd -m someone
cat > someone.sh <<'END'
set -euxo pipefail
cd
for kind in invoice list labels letter statement; do
    qbreport new $kind
    qbreport check --strict $kind.qbf -d $kind.json
    for format in pdf xlsx xls ods docx rtf html txt csv json tiff png; do
        qbreport render --strict $kind.qbf -d $kind.json -o out/$kind.$format
        [ -s out/$kind.$format ]
    done
done
head -c 5 out/list.pdf | grep %PDF-
qbreport burst statement.qbf -d statement.json --by Account --total Amount -o 'burst/{Account}.pdf'
[ "$(find burst -name '*.pdf' | wc -l)" -eq 3 ]
qbsvrtest -gen_full /usr/local/qbsvr6 list.qbf list.json mine.xlsx xlsx
[ -s mine.xlsx ]
python3 - <<'PYTHON'
import qbreport
with qbreport.Report("list.qbf") as report:
    assert report.render("list.json", format="pdf").startswith(b"%PDF-")
PYTHON
END
su someone -c 'bash /try/someone.sh'

# Libraries that are opened when a report needs them: without one, it fails with the name of the package.
cp /usr/local/qbsvr6/Samples/Data/Picture/Butterfly.jpg .
cat > needs.qbf <<'END'
<Report version="1">
  <DefaultStyle font="Liberation Sans"/>
  <ReportHeader height="60mm">
    <Text width="60mm" height="8mm" text="שלום مرحبا"/>
    <Picture y="10mm" width="30mm" height="20mm" source="Butterfly.jpg"/>
    <Barcode y="40mm" width="60mm" height="20mm" type="9" showText="false" text="ABC-123"/>
  </ReportHeader>
</Report>
END
needs="csv:libfribidi0 csv:libzint2.11 xlsx:libisal2 png:libcairo2 png:libjpeg62-turbo tiff:libtiff6"
for need in $needs; do qbreport render --strict needs.qbf -o "needs.${need%:*}"; done
for need in $needs; do
    dpkg --force-depends -r "${need#*:}"
    if qbreport render needs.qbf -o "without.${need%:*}" 2> said; then exit 1; fi
    grep -F "install the package ${need#*:} " said
    apt-get install -qq -y --no-install-recommends -f
done

# qbsvrtest by itself: every report in sixteen variants, and no failure in the log.
qbsvrtest > printed
reports=$(grep -o '"Name"' /usr/local/qbsvr6/Samples/Data/ReportListJson.txt | wc -l)
[ "$reports" -gt 9 ]
[ "$(ls /usr/local/qbsvr6/out/auto | wc -l)" -ge 14 ]
for folder in /usr/local/qbsvr6/out/auto/*; do [ "$(find "$folder" -type f | wc -l)" -ge "$reports" ]; done
[ -f /usr/local/qbsvr6/log/qbsvrl6.log ]
if grep ' error ' /usr/local/qbsvr6/log/qbsvrl6.log; then exit 1; fi

# Programs of others: the examples of a page, with pkg-config and with CMake.
apt-get install -qq -y --no-install-recommends g++ cmake ninja-build pkg-config libxml2-utils
example() { awk -v fence="\`\`\`$1" '$0 == fence {on = 1; next} /^```$/ {on = 0} on' /usr/share/doc/qbsvrl6-doc/docs/c.md; }
example c > offer.c
example cpp > offer.cpp
example xml > offer.qbf
printf '#include "larkspur.h"\nint main() { return larkspur::FormatNumber(1234.5, u"#,##0.00") == u"1,234.50" ? 0 : 1; }\n' > format.cpp
cc -std=c99 offer.c $(pkg-config --cflags --libs qbsvrl6) -o offer_c
c++ -std=c++17 offer.cpp $(pkg-config --cflags --libs qbsvrl6) -o offer_cpp
cmake -S . -B built -G Ninja
cmake --build built
for programs in . built; do
    $programs/offer_c offer.qbf pdf offer.pdf
    head -c 5 offer.pdf | grep %PDF-
    $programs/offer_cpp offer.qbf | grep ^Chair,1120.5
    if $programs/offer_c no.qbf pdf no.pdf 2> said; then exit 1; fi
    grep -x 'no.qbf: No such file or directory' said
done
built/format_cpp
xmllint --noout --schema "$(pkg-config --variable=schema qbsvrl6)" offer.qbf

# An administrator's own set-up folder stays, and nothing else.
apt-get purge -qq -y 'qbsvr*' 'libqbsvrl6*' qbreport python3-qbreport
[ -z "$(files_of_ours | grep -vE '^/(home|root)/')" ]
mkdir /usr/local/qbsvr6
apt-get install -qq -y --no-install-recommends ./qbsvrtest_*.deb ./libqbsvrl6_*.deb
apt-get purge -qq -y qbsvrtest libqbsvrl6
[ "$(files_of_ours | grep -vE '^/(home|root)/')" = /usr/local/qbsvr6 ]
