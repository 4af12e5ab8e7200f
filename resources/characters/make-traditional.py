#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes traditional.txt, the folding of traditional characters, from the Unihan database.

    make-traditional.py [FOLDER] > traditional.txt

FOLDER holds Unihan_Variants.txt, Unihan_Readings.txt and Unihan_OtherMappings.txt, or the same with
.bz2 (Debian package unicode-data). The rules:

1. Characters of simplified text are never folded: those of GB2312 and of the Table of General
   Standard Chinese Characters of 2013 (kTGH). Only STATED says otherwise.
2. STATED holds what Unihan doesn't say, or says of rarer uses.
3. Else a character becomes one of its simplified forms (kSimplifiedVariant) that GB2312 has.
4. Else one that it is another way to write (kSemanticVariant, kZVariant, said of either of the
   two), or a simplified form of that one, if GB2312 has it.
5. Else one of its simplified forms that GBK has.
6. Of several, one in kTGH; then the one that modern text uses most (kHanyuPinlu, summed over its
   readings); then the lowest code point.
"""

import bz2
import os
import re
import sys
from collections import defaultdict

VARIANTS = "Unihan_Variants.txt"
READINGS = "Unihan_Readings.txt"
MAPPINGS = "Unihan_OtherMappings.txt"

# Characters that were merged with another one instead of getting a simplified form. Simplified
# text has those of the first line, too, but seldom, and then nearly always for the second of a pair.
# The last line is the quotation marks.
STATED = """
於于 後后 麽么 徵征 夥伙 瞭了 祕秘 釐厘 剋克 摺折 菸烟 麴曲
佈布 佔占 侷局 俬私 儁俊 兇凶 剷铲 唸念 噁恶 嚐尝 嚮向 囌苏 塚冢 崑昆 嶽岳 彆别 彔录 彿佛 悽凄
慤悫 慼戚 旣既 昇升 陞升 朮术 枴拐 柺拐 榦干 殭僵 氾泛 泝溯 淩凌 滷卤 瀰弥 燉炖 燬毁 犛牦 琱雕
産产 痠酸 癒愈 簑蓑 籤签 糰团 綵彩 緑绿 縴纤 罎坛 羶膻 翫玩 脩修 蒐搜 蓆席 蔘参 藴蕴 蠔蚝 襬摆
覈核 譭毁 讚赞 豔艳 遊游 醃腌 醖酝 釦扣 録录 鍊炼 鎸镌 閲阅 闇暗 霑沾 頽颓 顔颜 餬糊 餵喂 駡骂
鬨哄 鳬凫 鵰雕 齧啮 鶿鹚 鷴鹇 亙亘 寀采 嫋袅 託托 諮咨 甦苏 鹼碱 鉅巨 賙周 揹背 伕夫 勣绩 牴抵
睪睾 訢欣 鑪炉 妳你 牠它
「“ 」” 『‘ 』’
"""

HEADER = """
# Traditional characters, other variants and quotation marks, each with the character of simplified
# text that stands for it when a word is looked up. One pair a line, in the order of code points.
# Made by make-traditional.py, which states the rules, from the Unihan database of Unicode 15.0.0
# (kSimplifiedVariant, kSemanticVariant, kZVariant, kTGH, kHanyuPinlu) and a list of its own.
# Unihan: Copyright (c) 1991-2022 Unicode, Inc. All rights reserved. Distributed under the terms of
# use in https://www.unicode.org/copyright.html; this table is a modified extract.
"""


def records(folder, name):
    """The (character, property, value) of a Unihan file."""
    path = os.path.join(folder, name)
    plain = os.path.exists(path)
    with open(path, "rb") if plain else bz2.open(path + ".bz2") as file:
        for line in file.read().decode("utf-8").splitlines():
            if line.startswith("U+"):
                code, field, value = line.split("\t")
                yield chr(int(code[2:], 16)), field, value


def characters(value):
    """The characters of a value such as "U+88CF<kLau,kMatthews U+91CC"."""
    return [chr(int(code, 16)) for code in re.findall(r"U\+([0-9A-F]+)", value)]


def has(encoding, character):
    try:
        return len(character.encode(encoding)) == 2
    except UnicodeEncodeError:
        return False


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else "/usr/share/unicode"
    simplified = defaultdict(list)
    same_meaning = defaultdict(set)
    for character, field, value in records(folder, VARIANTS):
        if field == "kSimplifiedVariant":
            simplified[character] = characters(value)
        elif field in ("kSemanticVariant", "kZVariant"):
            for other in characters(value):
                same_meaning[character].add(other)
                same_meaning[other].add(character)
    use = {
        character: sum(int(count) for count in re.findall(r"\((\d+)\)", value))
        for character, field, value in records(folder, READINGS)
        if field == "kHanyuPinlu"
    }
    general = {c for c, field, _ in records(folder, MAPPINGS) if field == "kTGH"}

    def best(candidates, encoding):
        usable = [c for c in candidates if has(encoding, c)]
        return min(usable, key=lambda c: (c not in general, -use.get(c, 0), c), default=None)

    def fold(character):
        forms = [form for form in simplified[character] if form != character]
        others = [form for other in same_meaning[character] for form in [other, *simplified[other]]]
        return best(forms, "gb2312") or best(others, "gb2312") or best(forms, "gbk")

    variants = (simplified.keys() | same_meaning.keys()) - general
    table = {c: fold(c) for c in variants if not has("gb2312", c)}
    table |= {pair[0]: pair[1] for pair in STATED.split()}
    print(HEADER.strip())
    for character, to in sorted(table.items()):
        if to:
            print(character, to)


if __name__ == "__main__":
    main()
