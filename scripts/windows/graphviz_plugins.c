/* The plugins of the static library, and the gvContext that knows them. */
#include <gvc.h>
#include <gvplugin.h>

extern gvplugin_library_t gvplugin_dot_layout_LTX_library;
extern gvplugin_library_t gvplugin_neato_layout_LTX_library;

static const lt_symlist_t plugins[] = {
    {"gvplugin_dot_layout_LTX_library", &gvplugin_dot_layout_LTX_library},
    {"gvplugin_neato_layout_LTX_library", &gvplugin_neato_layout_LTX_library},
    {0, 0},
};

GVC_t *gvContext(void)
{
    return gvContextPlugins(plugins, 0);
}
