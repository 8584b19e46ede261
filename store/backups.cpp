// States of the configuration kept aside: dumps, scope backups with their read-only snapshots, and checkpoints.
#include "store/store.h"

namespace {

constexpr int whole_tree = 1, attributes_only = 2;

// Copies a node; null with code and line.
xml::Detached copy_node(xmlNode *node, int depth, const char *who) {
    auto copy = xml::guarded<xml::Detached>([&] { return xmlCopyNode(node, depth); });
    return copy ? std::move(copy) : fail(nullptr, KVIO_XML, "%s error on xmlCopyNode()\n", who);
}

// A copy of the scope inside bare copies of its ancestors up to the root, which is left out; null with code and line.
xml::Detached copy_with_ancestors(xmlNode *scope, const char *who) {
    xml::Detached copy = copy_node(scope, whole_tree, who);
    for (xmlNode *ancestor = scope->parent; copy && xml::is_element(ancestor->parent); ancestor = ancestor->parent) {
        xml::Detached around = copy_node(ancestor, attributes_only, who);
        if (!around || !store::append(around.get(), std::move(copy), who)) return nullptr;
        copy = std::move(around);
    }
    return copy;
}

}  // namespace

int kvio_dump(kvio_config_t *config, const char *path) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    return store::save(config->doc, path, 0666, store::RedoFile::is_removed, __func__);
}

kvio_config_t *kvio_restore(kvio_config_t *config, const char *path) {
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    auto restored = zeroed<store::Config>();
    if (!restored) return fail(nullptr, KVIO_NO_MEMORY, "No memory\n");
    *restored = *config;
    restored->doc = xml::parse(path).release();
    if (!restored->doc) return fail(nullptr, KVIO_MALFORMED, "restore failed, temporary file is broken.\n");
    return succeed(restored.release());
}

kvio_config_t *kvio_restore_scope(const char *path) {
    auto snapshot = zeroed<store::Config>();
    if (!snapshot) return fail(nullptr, KVIO_NO_MEMORY, "No memory\n");
    snapshot->semid = -1;
    if (!path || copy_if_fits(snapshot->path, sizeof snapshot->path, path))
        snapshot->doc = xml::parse(path).release();
    else
        errno = ENAMETOOLONG;
    if (!snapshot->doc) return fail(nullptr, KVIO_MALFORMED, "%s is not well-formed\n", shown(path));
    return succeed(snapshot.release());
}

int kvio_backup_scope(kvio_config_t *config, const char *scope, const char *path) {
    xmlNode *element = store::find_scope(config, scope, __func__);
    if (!element) return 0;
    auto backup = xml::guarded<xml::Document>([] { return xmlNewDoc(xml::str("1.0")); });
    if (!backup) return fail(0, KVIO_XML, "%s fatal error: cannot create a new XML document\n", __func__);
    xml::Detached copy = copy_with_ancestors(element, __func__);
    if (!copy) return 0;
    auto root = xml::guarded<xml::Detached>([] { return xmlNewNode(nullptr, xml::str("kavex")); });
    if (!root) return fail(0, KVIO_XML, "%s error on xmlNewNode()\n", __func__);
    xmlNode *top = root.release();
    xmlDocSetRootElement(backup.get(), top);
    if (!store::append(top, std::move(copy), __func__)) return 0;
    return store::save(backup.get(), path, 0666, store::RedoFile::is_removed, __func__) >= 0;
}

kvio_checkpoint_t *kvio_create_checkpoint(kvio_config_t *config, const char *scope) {
    xmlNode *element = store::find_scope(config, scope, __func__);
    xml::Detached copy = element ? copy_node(element, whole_tree, __func__) : nullptr;
    return copy ? succeed(copy.release()) : nullptr;
}

int kvio_rollback_checkpoint(kvio_config_t *config, const char *scope, kvio_checkpoint_t *checkpoint) {
    xmlNode *element = store::find_scope(config, scope, __func__);
    if (!element) return 0;
    if (!checkpoint) return fail(0, KVIO_BAD_ENTITY, "%s() error: NULL checkpoint\n", __func__);
    xmlAddNextSibling(element, checkpoint);
    store::learn(checkpoint);
    return store::discard(element);
}

void kvio_release_checkpoint(kvio_checkpoint_t *checkpoint) { xmlFreeNode(checkpoint); }
