# Graphviz as one static library, with the layouts that GOX uses built in:
#
#     make -f graphviz.mk SOURCE=<unpacked sources> OUT=<folder> CC=... AR=... PREFIX=... install
#
# Its own build makes shared libraries that look for their plugins on the disk. The
# plugins here are tied in by graphviz_plugins.c, and graphviz_triangles.c stands in for
# the library that it would take a triangulation from.
folders := cdt cgraph pathplan xdot common pack gvc label dotgen neatogen sfdpgen sparse rbtree \
    ortho circogen twopigen fdpgen patchwork osage
scripts := $(dir $(abspath $(lastword $(MAKEFILE_LIST))))

# Sources that are no part of the libraries: test programs, old output languages and
# what needs a library that is not here.
left_out := %/cgraph/main.c %/cgraph/main1.c %/cgraph/main2.c %/cgraph/main3.c %/cgraph/tester.c \
    %/cgraph/cmpnd.c %/common/diagen.c %/common/hpglgen.c %/common/mifgen.c %/common/mpgen.c \
    %/common/picgen.c %/common/vtxgen.c %/common/strcasecmp.c %/common/strncasecmp.c \
    %/pack/ptest.c %/gvc/gvtool_tred.c %/label/nrtmain.c %/rbtree/test_red_black_tree.c \
    %/neatogen/constrained_majorization_ipsep.c %/neatogen/mosek_quad_solve.c \
    %/neatogen/quad_prog_vpsc.c %/sfdpgen/layout_similarity.c %/sparse/DotIO.c %/sparse/mq.c

sources := $(wildcard $(foreach folder,$(folders),$(SOURCE)/lib/$(folder)/*.c)) \
    $(wildcard $(SOURCE)/plugin/dot_layout/*.c $(SOURCE)/plugin/neato_layout/*.c)
sources := $(filter-out $(left_out),$(sources))
made_sources := $(OUT)/made/grammar.c $(OUT)/made/scan.c $(OUT)/made/htmlparse.c
made_headers := $(OUT)/made/static $(OUT)/made/config.h $(OUT)/made/builddate.h $(OUT)/made/regex.h $(OUT)/made/graphviz_version.h $(OUT)/made/colortbl.h \
    $(OUT)/made/ps_font_equiv.h $(OUT)/made/grammar.h $(OUT)/made/htmlparse.h
objects := $(patsubst $(SOURCE)/%.c,$(OUT)/%.o,$(sources)) $(made_sources:.c=.o) $(OUT)/graphviz_plugins.o \
    $(OUT)/graphviz_triangles.o

CPPFLAGS := -I$(OUT)/made -I$(SOURCE) $(foreach folder,$(folders),-I$(SOURCE)/lib/$(folder))
CPPFLAGS += -DHAVE_TRIANGLE=1
CFLAGS := -O2 -w

$(OUT)/lib/neatogen/delaunay.o: CPPFLAGS += -UHAVE_TRIANGLE -Ddelaunay_tri=delaunay_tri_of_library

# gvContext is that of graphviz_plugins.c.
$(OUT)/lib/gvc/gvc.o: CPPFLAGS += -DgvContext=gvContextWithoutPlugins

headers := cdt/cdt.h cgraph/cgraph.h common/arith.h common/color.h common/geom.h common/textspan.h \
    common/types.h common/usershape.h gvc/gvc.h gvc/gvcext.h gvc/gvcjob.h gvc/gvcommon.h gvc/gvconfig.h \
    gvc/gvplugin.h pathplan/pathgeom.h pathplan/pathplan.h xdot/xdot.h pack/pack.h

.PHONY: install
install: $(OUT)/libgvc.a
	install -D -m 644 -t $(PREFIX)/lib $<
	install -D -m 644 -t $(PREFIX)/include/graphviz $(addprefix $(SOURCE)/lib/,$(headers)) \
	    $(OUT)/made/graphviz_version.h
	mkdir -p $(PREFIX)/lib/pkgconfig
	printf '%s\n' 'Name: libgvc' 'Description: Graphviz, its layouts built in' 'Version: 2.42.2' \
	    'Libs: -L$(PREFIX)/lib -lgvc' 'Cflags: -I$(PREFIX)/include/graphviz' >$(PREFIX)/lib/pkgconfig/libgvc.pc
	printf '%s\n' 'Name: libcgraph' 'Description: Part of libgvc' 'Version: 2.42.2' 'Requires: libgvc' \
	    >$(PREFIX)/lib/pkgconfig/libcgraph.pc

$(OUT)/libgvc.a: $(objects)
	rm -f $@
	$(AR) rcs $@ $^

$(objects): $(made_headers)

$(OUT)/%.o: $(SOURCE)/%.c
	@mkdir -p $(@D)
	$(CC) $(CPPFLAGS) $(CFLAGS) -c $< -o $@

$(OUT)/made/%.o: $(OUT)/made/%.c
	$(CC) $(CPPFLAGS) $(CFLAGS) -c $< -o $@

$(OUT)/graphviz_%.o: $(scripts)graphviz_%.c
	$(CC) $(CPPFLAGS) $(CFLAGS) -c $< -o $@

$(OUT)/made:
	mkdir -p $@

# The headers take it for granted that on this system there are only shared libraries.
$(OUT)/made/static: | $(OUT)/made
	sed -i 's/__declspec(dllimport)/extern/' $(SOURCE)/lib/*/*.h
	touch $@

# Patterns are used for the sizes of pictures in files alone, which no graph has.
$(OUT)/made/regex.h: | $(OUT)/made
	printf '%s\n' 'typedef int regex_t;' 'typedef struct { int rm_so, rm_eo; } regmatch_t;' \
	    'enum { REG_EXTENDED, REG_NOSUB };' 'static int regcomp(regex_t* re, const char* text, int flags) { return 1; }' \
	    'static int regexec(const regex_t* re, const char* text, unsigned n, regmatch_t* match, int flags) { return 1; }' >$@

$(OUT)/made/builddate.h: | $(OUT)/made
	printf '#define BUILDDATE "0"\n' >$@

$(OUT)/made/config.h: | $(OUT)/made
	printf '#define %s\n' 'BROWSER ""' 'DEFAULT_DPI 96' 'DEFAULT_FONTPATH ""' 'DIGCOLA 1' 'ORTHO 1' 'SFDP 1' \
	    'SMYRNA_PATH ""' 'GVPLUGIN_CONFIG_FILE "config6"' 'GVPLUGIN_VERSION 6' 'PACKAGE_VERSION "2.42.2"' \
	    'HAVE_CBRT 1' 'HAVE_FCNTL_H 1' 'HAVE_SETMODE 1' 'HAVE_STDINT_H 1' 'HAVE_INTTYPES_H 1' \
	    'HAVE_STRCASECMP 1' 'HAVE_STRNCASECMP 1' 'HAVE_STRINGS_H 1' 'HAVE_SYS_STAT_H 1' \
	    'HAVE_SYS_TIME_H 1' 'HAVE_SYS_TYPES_H 1' 'HAVE_UNISTD_H 1' 'HAVE_VSNPRINTF 1' \
	    'HAVE_INTPTR_T 1' 'HAVE_SSIZE_T 1' >$@

$(OUT)/made/graphviz_version.h: | $(OUT)/made
	printf '#define %s\n' 'PACKAGE_VERSION "2.42.2"' 'PACKAGE_NAME "graphviz"' >$@

$(OUT)/made/colortbl.h: | $(OUT)/made
	cd $(SOURCE)/lib/common && { gawk -f ../../awk/brewer.awk brewer_colors; \
	    gawk -f ../../awk/svgcolor.awk svgcolor_names; cat color_names; } | LC_ALL=C sort >$(OUT)/made/color_lib
	gawk -f $(SOURCE)/awk/colortbl.awk $(OUT)/made/color_lib >$@

$(OUT)/made/ps_font_equiv.h: | $(OUT)/made
	cd $(SOURCE)/lib/common && { cat ps_fontmap.txt; \
	    perl mksvgfonts.pl fontmap.cfg ps_font_equiv.txt | LC_ALL=C sort; } >$@

# The two parsers have names of their own instead of yy, and on this system a long
# is too short for the pointers that they keep.
wide_names = sed -e 's/yy/$(1)/g' -e 's/unsigned long int/uint64_t/g' -e 's/unsigned long/uint64_t/g'

$(OUT)/made/grammar.tab.c $(OUT)/made/grammar.tab.h &: $(SOURCE)/lib/cgraph/grammar.y | $(OUT)/made
	bison -y -d -o $(OUT)/made/grammar.tab.c $<
$(OUT)/made/htmlparse.tab.c $(OUT)/made/htmlparse.tab.h &: $(SOURCE)/lib/common/htmlparse.y | $(OUT)/made
	bison -y -d -o $(OUT)/made/htmlparse.tab.c $<
$(OUT)/made/grammar.c $(OUT)/made/grammar.h: $(OUT)/made/grammar.%: $(OUT)/made/grammar.tab.%
	$(call wide_names,aag) $< >$@
$(OUT)/made/htmlparse.c $(OUT)/made/htmlparse.h: $(OUT)/made/htmlparse.%: $(OUT)/made/htmlparse.tab.%
	$(call wide_names,html) $< >$@
$(OUT)/made/scan.c: $(SOURCE)/lib/cgraph/scan.l | $(OUT)/made
	flex -i -o $(OUT)/made/scan.l.c $<
	sed -e 's/yy/aag/g' -e '/extern.*isatty/d' $(OUT)/made/scan.l.c >$@
