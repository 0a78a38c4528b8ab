#!/usr/bin/python3
"""Makes the data of the sample reports: Samples/Data/json/*.txt, the texts beside templates, and the pictures.

All of it is invented. The same run gives the same files. The pictures need Pillow (python3-pil) and fonts-noto-cjk;
everything else only Python. Run it from anywhere: samples/make_data.py
"""

import datetime
import json
import math
import pathlib
import random

ROOT = pathlib.Path(__file__).resolve().parent / "Samples"
JSON = ROOT / "Data" / "json"
REPORTS = ROOT / "Reports"

CITIES = [
    ("华东", "上海", "021"), ("华东", "杭州", "0571"), ("华东", "南京", "025"), ("华东", "苏州", "0512"),
    ("华南", "广州", "020"), ("华南", "深圳", "0755"), ("华南", "厦门", "0592"),
    ("华北", "北京", "010"), ("华北", "天津", "022"), ("华北", "青岛", "0532"),
    ("西南", "成都", "028"), ("西南", "重庆", "023"), ("西南", "昆明", "0871"),
]
COMPANY_HEADS = ["东方", "恒信", "嘉禾", "立业", "明远", "瑞丰", "三江", "天成", "万里", "新世纪", "永安", "中原", "蓝海", "金桥"]
COMPANY_TAILS = ["贸易有限公司", "食品有限公司", "科技股份公司", "物流集团", "文化传播公司", "Trading Ltd.", "Foods Co.", "Logistics GmbH"]
SURNAMES = "赵钱孙李周吴郑王冯陈褚卫蒋沈韩杨朱秦尤许何吕施张"
GIVEN = ["伟", "芳", "娜", "敏", "静", "丽", "强", "磊", "军", "洋", "勇", "艳", "杰", "涛", "明", "超", "秀英", "志强", "晓燕", "建国"]
LATIN_NAMES = ["Anna Keller", "Ben Carter", "Clara Rossi", "David Nguyen", "Eva Lindström", "François Petit", "Grace O'Neil"]
STREETS = ["人民路", "中山北路", "解放大道", "建设街", "长江路", "和平里", "科技园南区", "滨海大道"]
PRODUCTS = [
    ("饮料", "龙井绿茶", 128.00, "盒"), ("饮料", "普洱熟茶", 98.50, "饼"), ("饮料", "Espresso Beans", 75.90, "kg"),
    ("饮料", "橙汁", 6.80, "瓶"), ("点心", "桂花糕", 32.00, "盒"), ("点心", "Butter Cookies", 45.60, "tin"),
    ("点心", "核桃酥", 28.50, "盒"), ("海鲜", "东海带鱼", 56.00, "kg"), ("海鲜", "虾仁", 88.80, "kg"),
    ("海鲜", "Smoked Salmon", 199.00, "kg"), ("调味品", "镇江香醋", 12.90, "瓶"), ("调味品", "郫县豆瓣", 15.50, "罐"),
    ("调味品", "Olive Oil", 79.00, "瓶"), ("谷物", "五常大米", 69.90, "袋"), ("谷物", "小米", 18.80, "袋"),
    ("谷物", "Rolled Oats", 26.40, "袋"), ("肉禽", "金华火腿", 268.00, "条"), ("肉禽", "盐水鸭", 48.00, "只"),
    ("日用", "竹浆纸巾", 19.90, "提"), ("日用", "Hand Soap", 14.25, "瓶"),
]


def save(path, value):
    path.parent.mkdir(parents=True, exist_ok=True)
    rows = value
    if isinstance(value, list):
        text = "[\n" + ",\n".join(json.dumps(row, ensure_ascii=False) for row in rows) + "\n]\n"
    else:
        text = json.dumps(value, ensure_ascii=False, indent=1) + "\n"
    path.write_text(text, encoding="utf-8")


def person(rnd):
    return rnd.choice(LATIN_NAMES) if rnd.random() < 0.25 else rnd.choice(SURNAMES) + rnd.choice(GIVEN)


def company_name(rnd):
    head, tail = rnd.choice(COMPANY_HEADS), rnd.choice(COMPANY_TAILS)
    return f"{head} {tail}" if tail.isascii() else head + tail


def customers(rnd, count):
    rows, used = [], set()
    for number in range(1, count + 1):
        region, city, area = rnd.choice(CITIES)
        while True:
            company = company_name(rnd)
            if (company, city) not in used:
                break
        used.add((company, city))
        rows.append({
            "CustomerID": f"C{number:04d}",
            "CompanyName": company,
            "ContactName": person(rnd),
            "Region": region,
            "City": city,
            "Address": f"{city}市{rnd.choice(STREETS)}{rnd.randint(1, 999)}号{rnd.randint(1, 30)}层",
            "Phone": f"{area}-{rnd.randint(20000000, 89999999)}",
            "TaxNo": f"9131{rnd.randint(10**13, 10**14 - 1)}",
            "Credit": round(rnd.uniform(1, 80)) * 5000,
            "Since": str(datetime.date(2012, 1, 1) + datetime.timedelta(days=rnd.randint(0, 5000))),
            "Active": rnd.random() < 0.85,
        })
    rows.sort(key=lambda row: ([c[0] for c in CITIES].index(row["Region"]), row["CustomerID"]))
    return rows


def products(rnd):
    return [{
        "ProductID": f"P{index + 1:03d}",
        "Category": category,
        "ProductName": name,
        "Unit": unit,
        "Price": price,
        "Stock": rnd.randint(0, 500),
        "Level": rnd.randint(1, 3),
        "Barcode": f"69{rnd.randint(10**9, 10**10 - 1)}",
    } for index, (category, name, price, unit) in enumerate(PRODUCTS)]


def invoice(rnd):
    lines, total = [], 0.0
    for product in rnd.sample(PRODUCTS, 9):
        quantity = rnd.randint(2, 40)
        amount = round(quantity * product[2], 2)
        total += amount
        lines.append({"Item": product[1], "Unit": product[3], "Quantity": quantity, "Price": product[2], "Amount": amount})
    return {
        "InvoiceNo": "INV-2026-00418",
        "Date": "2026-03-18",
        "Due": "2026-04-17",
        "Buyer": "明远贸易有限公司",
        "BuyerAddress": "杭州市中山北路218号6层",
        "BuyerTaxNo": "91330100MA2XXXXX0K",
        "Seller": "蓝海食品有限公司",
        "SellerEnglish": "Bluewater Foods Co., Ltd.",
        "SellerAddress": "上海市长江路66号",
        "TaxRate": 0.13,
        "Total": round(total, 2),
        "Tax": round(total * 0.13, 2),
        "GrandTotal": round(round(total, 2) + round(total * 0.13, 2), 2),
        "Lines": lines,
    }


def factur_x(bill):
    """The invoice for programs: Factur-X and ZUGFeRD, profile MINIMUM."""
    types = "urn:un:unece:uncefact:data:standard:"
    party = lambda kind, name, country, tax="": (
        f"    <ram:{kind}TradeParty>\n     <ram:Name>{name}</ram:Name>\n"
        f"     <ram:PostalTradeAddress><ram:CountryID>{country}</ram:CountryID></ram:PostalTradeAddress>\n"
        f"{tax}    </ram:{kind}TradeParty>\n")
    seller_tax = ('     <ram:SpecifiedTaxRegistration><ram:ID schemeID="VA">CN91310000MA1XXXXX5B</ram:ID>'
                  "</ram:SpecifiedTaxRegistration>\n")
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<rsm:CrossIndustryInvoice xmlns:rsm="{types}CrossIndustryInvoice:100"
    xmlns:ram="{types}ReusableAggregateBusinessInformationEntity:100" xmlns:udt="{types}UnqualifiedDataType:100">
 <rsm:ExchangedDocumentContext>
  <ram:GuidelineSpecifiedDocumentContextParameter>
   <ram:ID>urn:factur-x.eu:1p0:minimum</ram:ID>
  </ram:GuidelineSpecifiedDocumentContextParameter>
 </rsm:ExchangedDocumentContext>
 <rsm:ExchangedDocument>
  <ram:ID>{bill["InvoiceNo"]}</ram:ID>
  <ram:TypeCode>380</ram:TypeCode>
  <ram:IssueDateTime><udt:DateTimeString format="102">{bill["Date"].replace("-", "")}</udt:DateTimeString></ram:IssueDateTime>
 </rsm:ExchangedDocument>
 <rsm:SupplyChainTradeTransaction>
   <ram:ApplicableHeaderTradeAgreement>
{party("Seller", bill["Seller"], "CN", seller_tax)}{party("Buyer", bill["Buyer"], "CN")}   </ram:ApplicableHeaderTradeAgreement>
   <ram:ApplicableHeaderTradeDelivery/>
   <ram:ApplicableHeaderTradeSettlement>
    <ram:InvoiceCurrencyCode>CNY</ram:InvoiceCurrencyCode>
    <ram:SpecifiedTradeSettlementHeaderMonetarySummation>
     <ram:TaxBasisTotalAmount>{bill["Total"]:.2f}</ram:TaxBasisTotalAmount>
     <ram:TaxTotalAmount currencyID="CNY">{bill["Tax"]:.2f}</ram:TaxTotalAmount>
     <ram:GrandTotalAmount>{bill["GrandTotal"]:.2f}</ram:GrandTotalAmount>
     <ram:DuePayableAmount>{bill["GrandTotal"]:.2f}</ram:DuePayableAmount>
    </ram:SpecifiedTradeSettlementHeaderMonetarySummation>
   </ram:ApplicableHeaderTradeSettlement>
 </rsm:SupplyChainTradeTransaction>
</rsm:CrossIndustryInvoice>
"""


def sales_by_month(rnd):
    rows = []
    for category, name, price, _ in PRODUCTS:
        base = rnd.uniform(20, 400)
        row = {"Category": category, "ProductName": name}
        total = 0.0
        for month in range(1, 13):
            season = 1 + 0.35 * math.sin((month - 2) / 12 * 2 * math.pi)
            value = round(base * season * rnd.uniform(0.8, 1.2) * price, 2)
            row[f"M{month:02d}"] = value
            total += value
        row["Total"] = round(total, 2)
        row["Growth"] = round(rnd.uniform(-0.2, 0.45), 4)
        rows.append(row)
    return rows


def statement(rnd, count):
    balance, day, rows = 52_340.18, datetime.date(2025, 1, 2), []
    purposes = ["货款", "工资", "房租", "水电费", "Card payment", "差旅报销", "利息", "Transfer to savings", "退款", "税款", "设备采购", "服务费"]
    for number in range(1, count + 1):
        day += datetime.timedelta(days=rnd.choice([0, 0, 0, 1, 1, 2]))
        income = rnd.random() < 0.45
        amount = round(rnd.lognormvariate(6.5, 1.1), 2)
        balance = round(balance + (amount if income else -amount), 2)
        rows.append({
            "No": number,
            "Date": str(day),
            "Month": day.strftime("%Y-%m"),
            "Purpose": rnd.choice(purposes),
            "Partner": company_name(rnd),
            "Income": amount if income else None,
            "Expense": None if income else amount,
            "Balance": balance,
            "Reference": str(rnd.randint(10**17, 10**18 - 1)),
        })
    return {
        "Account": "6222 0210 0105 8888 123",
        "Holder": "恒信科技股份公司",
        "Currency": "CNY",
        "Opening": 52340.18,
        "Closing": balance,
        "Entries": rows,
    }


def quarterly(rnd):
    rows = []
    for region in ["华东", "华南", "华北", "西南"]:
        cities = [city for head, city, _ in CITIES if head == region]
        for city in cities:
            for quarter in range(1, 5):
                plan = round(rnd.uniform(40, 160)) * 10000
                rows.append({"Region": region, "City": city, "Quarter": quarter, "Plan": plan,
                             "Actual": round(plan * rnd.uniform(0.7, 1.35) / 100) * 100})
    return rows


def labels(rnd):
    return [{"Name": person(rnd), "Company": row["CompanyName"], "Address": row["Address"], "Zip": f"{rnd.randint(100000, 899999)}"}
            for row in customers(rnd, 42)]


def notice():
    return {
        "Letterhead": "蓝海食品有限公司文件",
        "Number": "蓝海发〔2026〕12号",
        "Recipient": "公司各部门",
        "Date": "2026-04-20",
        "Signer": "蓝海食品有限公司",
        "Copies": "各分公司、各门店",
        "Title": "关于2026年劳动节放假安排的通知",
        "Body": "　　根据国家有关规定，现将2026年劳动节放假安排通知如下：\n"
                "　　一、5月1日（星期五）至5月5日（星期二）放假调休，共五天；5月9日（星期六）正常上班。\n"
                "　　二、各部门提前做好工作安排，值班人员名单于4月27日前报行政部。\n"
                "　　三、放假期间注意人身和财产安全，离开办公室前关闭电源、门窗。如有紧急情况，请拨打值班电话021-5550 0199。",
        "BodyEnglish": "The office is closed from Friday, 1 May to Tuesday, 5 May 2026. Saturday, 9 May is a working day. "
                       "Please hand the duty roster to administration by 27 April, and switch off the lights, computers "
                       "and air conditioning before you leave. In urgent cases call 021-5550 0199.",
    }


def orders(rnd):
    heads, lines = [], []
    for number in range(1, 13):
        order = f"SO-2026-{number:04d}"
        count = rnd.randint(2, 6)
        heads.append({
            "OrderID": order,
            "Customer": company_name(rnd),
            "OrderDate": str(datetime.date(2026, 3, 2) + datetime.timedelta(days=rnd.randint(0, 27))),
            "Sales": person(rnd),
        })
        for position, product in enumerate(rnd.sample(PRODUCTS, count), 1):
            lines.append({"OrderID": order, "Position": position, "Product": product[1], "Unit": product[3],
                          "Quantity": rnd.randint(1, 60), "Price": product[2]})
    return {"Orders": heads, "Lines": lines}


def business(rnd):
    shares = (("华东", 0.42), ("华南", 0.27), ("华北", 0.19), ("西南", 0.12))
    sales = [{"Quarter": quarter, "Region": region, "Revenue": round(total * share * rnd.uniform(0.94, 1.06), 1),
              "Cost": round(total * share * rnd.uniform(0.68, 0.76), 1), "LastYear": round(total * share * rnd.uniform(0.8, 0.9), 1)}
             for quarter, total in enumerate((128, 141, 156, 173), 1) for region, share in shares]
    scores = {"线上": (4.1, 4.2, 4.2, 4.4, 4.5, 4.6), "门店": (4.4, 4.3, 4.5, 4.5, 4.6, 4.6)}
    warm = {"上海": ((6, 40), (12, 62), (18, 95), (24, 160), (30, 255), (36, 340)),
            "昆明": ((9, 38), (13, 50), (17, 71), (21, 88), (25, 120))}
    products = {"饮料": ((20, 74, 30), (76, 42, 22), (128, 24, 26)), "点心": ((32, 52, 14), (46, 33, 9)),
                "海鲜": ((57, 61, 24), (89, 28, 16), (199, 12, 20))}
    return {
        "Company": "蓝海食品有限公司",
        "Year": 2025,
        "Sales": sales,
        "Satisfaction": [{"Channel": channel, "Month": month, "Score": score}
                         for channel, row in scores.items() for month, score in zip(range(1, 12, 2), row)],
        "Weather": [{"City": city, "Temperature": degrees, "Boxes": boxes} for city, row in warm.items() for degrees, boxes in row],
        "Products": [{"Category": category, "Price": price, "Sold": sold, "Profit": profit}
                     for category, row in products.items() for price, sold, profit in row],
    }


def certificates():
    return [{"Number": f"LH-2026-{number:04d}", "Name": name, "Female": female, "Course": "食品安全管理师",
             "From": "2026-03-02", "To": "2026-03-27", "Hours": 80, "Score": score}
            for number, name, female, score in ((117, "许晓燕", True, 94), (118, "吴建国", False, 86), (119, "Eva Lindström", True, 97))]


def chart_xml(path, element, rows):
    """Chart data as XML text: one element a row, its values as attributes."""
    path.parent.mkdir(parents=True, exist_ok=True)
    lines = ["".join(f' {name}="{value}"' for name, value in row.items()) for row in rows]
    path.write_text('<?xml version="1.0" encoding="UTF-8"?>\n<Chart>\n'
                    + "".join(f"  <{element}{line}/>\n" for line in lines) + "</Chart>\n", encoding="utf-8")


def chart_data(rnd, directory):
    quarters, people = ["一季度", "二季度", "三季度", "四季度"], ["张三", "李四", "王五"]
    chart_xml(directory / "xmlBar1.txt", "Row",
              [{"Category": quarter, "Series": name, "Value": rnd.randint(40, 180)} for quarter in quarters for name in people])
    chart_xml(directory / "xmlBar2.txt", "Row",
              [{"Category": "全年", "Series": name, "Value": rnd.randint(200, 600)} for name in people])
    chart_xml(directory / "xmlXYScatter.txt", "Point",
              [{"Series": name, "X": x, "Y": round(start + slope * x + rnd.uniform(-4, 4), 1)}
               for name, start, slope in (("甲线", 20, 2.4), ("乙线", 55, -0.9)) for x in range(0, 25, 3)])
    chart_xml(directory / "xmlXYZBubble.txt", "Point",
              [{"Series": region, "X": round(rnd.uniform(5, 95), 1), "Y": round(rnd.uniform(10, 90), 1), "Size": rnd.randint(3, 60)}
               for region in ("华东", "华南", "华北") for _ in range(6)])


def butterfly(path):
    """A butterfly from its polar curve, r = e^cos t - 2 cos 4t - sin^5(t / 12), filled with a gradient."""
    from PIL import Image, ImageChops, ImageDraw, ImageFilter
    width, height, scale = 640, 480, 2
    big = (width * scale, height * scale)
    picture = Image.new("RGB", big, (255, 255, 255))
    middle = (big[0] / 2, big[1] / 2 + 36 * scale)
    points = []
    for step in range(24 * 300 + 1):
        t = step / 300 * math.pi
        r = math.exp(math.cos(t)) - 2 * math.cos(4 * t) - math.sin(t / 12) ** 5
        points.append((middle[0] + r * math.sin(t) * 68 * scale, middle[1] - r * math.cos(t) * 68 * scale))
    wings = Image.new("L", big, 0)
    for start in range(0, len(points) - 600, 600):
        turn = Image.new("L", big, 0)
        ImageDraw.Draw(turn).polygon(points[start:start + 601] + [middle], fill=255)
        wings = ImageChops.lighter(wings, turn)
    colours = Image.new("RGB", big)
    pixels = ImageDraw.Draw(colours)
    for radius in range(int(390 * scale), 0, -1):
        part = radius / (390 * scale)
        pixels.ellipse([middle[0] - radius, middle[1] - radius, middle[0] + radius, middle[1] + radius],
                       fill=(int(250 - 190 * part), int(150 - 40 * part), int(40 + 180 * part)))
    picture.paste(colours, (0, 0), wings)
    lines = ImageDraw.Draw(picture)
    lines.line(points, fill=(40, 32, 80), width=2 * scale, joint="curve")
    lines.ellipse([middle[0] - 7 * scale, middle[1] - 78 * scale, middle[0] + 7 * scale, middle[1] + 70 * scale], fill=(40, 32, 60))
    for side in (-1, 1):
        lines.line([(middle[0], middle[1] - 76 * scale), (middle[0] + side * 20 * scale, middle[1] - 120 * scale),
                    (middle[0] + side * 46 * scale, middle[1] - 138 * scale)], fill=(40, 32, 60), width=3 * scale, joint="curve")
    picture = picture.resize((width, height), Image.LANCZOS).filter(ImageFilter.SMOOTH)
    path.parent.mkdir(parents=True, exist_ok=True)
    picture.save(path, quality=88, dpi=(150, 150))


def seal(path):
    """A round seal: the name along the upper edge, a star, a line of text."""
    from PIL import Image, ImageDraw, ImageFont
    size, red = 900, (212, 42, 30, 255)
    middle, bold = size / 2, "/usr/share/fonts/opentype/noto/NotoSansCJK-Bold.ttc"  # of fonts-noto-cjk; its third face is SC
    picture = Image.new("RGBA", (size, size), (212, 42, 30, 0))
    drawing = ImageDraw.Draw(picture)
    drawing.ellipse([8, 8, size - 9, size - 9], outline=red, width=26)
    corners = [(middle + math.sin(math.pi * step / 5) * radius, middle - math.cos(math.pi * step / 5) * radius)
               for step, radius in ((step, 150 if step % 2 == 0 else 57) for step in range(10))]
    drawing.polygon(corners, fill=red)
    name, letters = "蓝海职业培训学校", ImageFont.truetype(bold, 100, index=2)
    for place, letter in enumerate(name):
        angle = (place - (len(name) - 1) / 2) * 30
        turned = Image.new("RGBA", (size, size), (212, 42, 30, 0))
        ImageDraw.Draw(turned).text((middle, 108), letter, font=letters, fill=red, anchor="mm")
        picture.alpha_composite(turned.rotate(-angle, resample=Image.BICUBIC))
    drawing.text((middle, 690), "证书专用章", font=ImageFont.truetype(bold, 82, index=2), fill=red, anchor="mm")
    picture.resize((300, 300), Image.LANCZOS).quantize(24, method=Image.FASTOCTREE).save(path, optimize=True)


def frame(path):
    """The border of a certificate, A4 landscape: fine waves between two lines, a rosette in each corner."""
    from PIL import Image, ImageDraw
    width, height, scale = 1754, 1240, 2
    gold, pale, white = (184, 146, 63), (222, 200, 148), (255, 255, 255)
    middle, swing, corner = 77, 15, 46
    picture = Image.new("RGB", (width * scale, height * scale), white)
    drawing = ImageDraw.Draw(picture)
    for inset, line in ((48, 4), (104, 2)):
        drawing.rectangle([inset * scale, inset * scale, (width - inset) * scale - 1, (height - inset) * scale - 1],
                          outline=gold, width=line * scale)
    for vertical, length, far in ((False, width, height), (True, height, width)):
        waves = round((length - 2 * middle) / 90)
        for phase in range(8):
            points = []
            for along in range(middle, length - middle + 1):
                turn = 2 * math.pi * waves * (along - middle) / (length - 2 * middle)
                points.append((along, swing * math.sin(turn + phase * math.pi / 4)))
            for place in (middle, far - middle):
                drawing.line([((place + off) * scale, along * scale) if vertical else (along * scale, (place + off) * scale)
                              for along, off in points], fill=gold if phase % 2 else pale, width=scale, joint="curve")
    for x in (middle, width - middle):
        for y in (middle, height - middle):
            drawing.ellipse([(x - corner) * scale, (y - corner) * scale, (x + corner) * scale, (y + corner) * scale],
                            fill=white, outline=gold, width=3 * scale)
            for petals, radius in ((8, 41), (12, 26)):
                drawing.line([((x + radius * math.cos(petals / 2 * t) * math.cos(t)) * scale,
                               (y + radius * math.cos(petals / 2 * t) * math.sin(t)) * scale)
                              for t in (step / 720 * 2 * math.pi for step in range(721))],
                             fill=gold, width=2 * scale, joint="curve")
    picture.resize((width, height), Image.LANCZOS).quantize(32).save(path, optimize=True, dpi=(150, 150))


def main():
    save(JSON / "jsonCustomer.txt", customers(random.Random(1), 48))
    save(JSON / "jsonProduct.txt", products(random.Random(2)))
    save(JSON / "jsonInvoice.txt", invoice(random.Random(3)))
    (REPORTS / "3a.factur-x.xml").write_text(factur_x(invoice(random.Random(3))), encoding="utf-8")
    save(JSON / "jsonSalesByMonth.txt", sales_by_month(random.Random(4)))
    save(JSON / "jsonStatement.txt", statement(random.Random(5), 640))
    save(JSON / "jsonQuarter.txt", quarterly(random.Random(6)))
    save(JSON / "jsonLabel.txt", labels(random.Random(7)))
    save(JSON / "jsonNotice.txt", notice())
    save(JSON / "jsonOrder.txt", orders(random.Random(9)))
    save(JSON / "jsonBusiness.txt", business(random.Random(11)))
    save(JSON / "jsonCertificate.txt", certificates())
    chart_data(random.Random(10), REPORTS / "07.Chart" / "RequestData")
    save(REPORTS / "7a.stock.txt", products(random.Random(8)))
    frame(ROOT / "Data" / "Picture" / "Frame.png")
    seal(ROOT / "Data" / "Picture" / "Seal.png")
    butterfly(ROOT / "Data" / "Picture" / "Butterfly.jpg")


if __name__ == "__main__":
    main()
